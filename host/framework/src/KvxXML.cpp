#include "kvx/framework/KvxXML.h"

#include <algorithm>
#include <cctype>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <unordered_map>

#include "kvx/platform/FileSystem.h"
#include "kvx/platform/Text.h"

using kvx::platform::Narrow;
using kvx::platform::Widen;

namespace {
// Created nodes wait under this top-level element until they are appended somewhere.
constexpr const char* kStagingName = "kvx-staging";

// A created node that waits to be placed, with the number of live handles that refer to it. The node
// goes when the last of them is released, not the first: a parent handle taken through a child must
// not drop the node its creator still holds.
struct ParkedNode {
  const KvxXMLDocument* document = nullptr;
  int handles = 0;
};

// Keyed by pugixml's node object. Never destroyed: handles in other static objects may outlive it.
std::unordered_map<pugi::xml_node_struct*, ParkedNode>& ParkedNodes() {
  static auto* parked = new std::unordered_map<pugi::xml_node_struct*, ParkedNode>();
  return *parked;
}

void Unpark(pugi::xml_node node) { ParkedNodes().erase(node.internal_object()); }

// Removes everything but the parked nodes.
void ClearContent(pugi::xml_document& document) {
  for (pugi::xml_node child = document.first_child(); child;) {
    const pugi::xml_node next = child.next_sibling();
    if (child.name() != std::string_view(kStagingName)) document.remove_child(child);
    child = next;
  }
}

// Decodes one UTF-8 sequence at `at`, advancing it; -1 when the bytes are not UTF-8.
long NextCodePoint(std::string_view text, size_t& at) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at);
  if (lead < 0x80) return text[at++];
  const int length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
  if (length == 0 || lead > 0xF4 || at + length > text.size()) return -1;
  long code = lead & (0x3F >> (length - 1));
  for (int i = 1; i < length; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) return -1;
    code = (code << 6) | (byte(at + i) & 0x3F);
  }
  const long smallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (code < smallest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return -1;
  at += static_cast<size_t>(length);
  return code;
}

// The characters an XML document may hold at all.
bool IsXmlChar(long c) {
  return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
         (c >= 0x10000 && c <= 0x10FFFF);
}

bool IsNameStart(long c) {
  return std::isalpha(static_cast<int>(c < 0x80 ? c : 0)) || c == '_' || c == ':' ||
         (c >= 0xC0 && c <= 0x2FF && c != 0xD7 && c != 0xF7) || (c >= 0x370 && c <= 0x1FFF && c != 0x37E) ||
         c == 0x200C || c == 0x200D || (c >= 0x2070 && c <= 0x218F) || (c >= 0x2C00 && c <= 0x2FEF) ||
         (c >= 0x3001 && c <= 0xD7FF) || (c >= 0xF900 && c <= 0xFDCF) || (c >= 0xFDF0 && c <= 0xFFFD) ||
         (c >= 0x10000 && c <= 0xEFFFF);
}
bool IsNameChar(long c) {
  return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == 0xB7 ||
         (c >= 0x300 && c <= 0x36F) || c == 0x203F || c == 0x2040;
}

bool IsAsciiNameStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':'; }
bool IsAsciiNameChar(char c) { return IsAsciiNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; }

// Element and attribute names must be XML names, or the written file could not be read back.
bool IsXmlName(std::string_view name) {
  // Rule sets name everything in ASCII: those names are decided without decoding.
  if (!name.empty() && IsAsciiNameStart(name.front()) &&
      std::all_of(name.begin() + 1, name.end(), IsAsciiNameChar)) {
    return true;
  }
  size_t at = 0;
  for (bool first = true; at < name.size(); first = false) {
    const long c = NextCodePoint(name, at);
    if (c < 0 || !(first ? IsNameStart(c) : IsNameChar(c))) return false;
  }
  return !name.empty();
}

// Texts that hold only XML characters in UTF-8: a strict reader refuses anything else.
bool IsXmlText(std::string_view text) {
  for (size_t at = 0; at < text.size();) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (byte >= 0x20 && byte < 0x80) {
      ++at;
      continue;
    }
    if (!IsXmlChar(NextCodePoint(text, at))) return false;
  }
  return true;
}

// Characters no XML document can hold become U+FFFD, so whatever is written reads back everywhere.
std::string XmlText(const std::wstring& text) {
  const auto unfit = [](wchar_t c) { return !IsXmlChar(static_cast<long>(c)); };
  if (std::none_of(text.begin(), text.end(), unfit)) return Narrow(text);
  std::wstring fitted = text;
  std::replace_if(fitted.begin(), fitted.end(), unfit, L'\uFFFD');
  return Narrow(fitted);
}
}  // namespace

// --- KvxXMLNode ------------------------------------------------------------------------------

KvxXMLNode::KvxXMLNode(KvxXMLDocument* document, pugi::xml_node node) : document_(document), node_(node) {
  const auto parked = ParkedNodes().find(node_.internal_object());
  if (parked != ParkedNodes().end()) ++parked->second.handles;
}

KvxXMLNode::~KvxXMLNode() {
  // Only parked nodes are looked at: a handle may outlive the content it pointed into.
  const auto parked = ParkedNodes().find(node_.internal_object());
  if (parked == ParkedNodes().end() || --parked->second.handles > 0) return;
  ParkedNodes().erase(parked);
  node_.parent().remove_child(node_);
}

std::wstring KvxXMLNode::GetNodeName() const { return Widen(node_.name()); }

bool KvxXMLNode::AddAttribute(const std::wstring& name, const std::wstring& value) {
  const std::string narrowName = Narrow(name);
  if (!node_ || !IsXmlName(narrowName)) return false;
  // A second attribute of the same name would make the element unreadable; the value is replaced.
  pugi::xml_attribute attribute = node_.attribute(narrowName.c_str());
  if (!attribute) attribute = node_.append_attribute(narrowName.c_str());
  return attribute.set_value(XmlText(value).c_str());
}

bool KvxXMLNode::GetAttributeValue(const std::wstring& name, std::wstring& value) const {
  const pugi::xml_attribute attribute = node_.attribute(Narrow(name).c_str());
  if (!attribute) return false;
  value = Widen(attribute.value());
  return true;
}

void KvxXMLNode::SetNodeValue(const std::wstring& text) {
  if (node_) node_.text().set(XmlText(text).c_str());
}

std::wstring KvxXMLNode::GetNodeValue() const { return Widen(node_.text().get()); }

int KvxXMLNode::GetNodeValueInInt() const {
  const std::wstring text = GetNodeValue();
  return static_cast<int>(std::wcstol(text.c_str(), nullptr, 10));
}

bool KvxXMLNode::AppendNode(KvxXMLNode* child) {
  if (!node_ || !child || !child->node_) return false;
  if (!node_.append_move(child->node_)) return false;
  Unpark(child->node_);
  return true;
}

std::unique_ptr<KvxXMLNode> KvxXMLNode::AppendElement(const std::wstring& name, const std::wstring& text) {
  const std::string narrowName = Narrow(name);
  if (!node_ || !IsXmlName(narrowName)) return nullptr;
  const pugi::xml_node child = node_.append_child(narrowName.c_str());
  if (!child) return nullptr;
  if (!text.empty()) child.text().set(XmlText(text).c_str());
  return std::make_unique<KvxXMLNode>(document_, child);
}

bool KvxXMLNode::ReplaceChild(KvxXMLNode* newChild, KvxXMLNode* oldChild) {
  if (!node_ || !newChild || !oldChild || !oldChild->node_ || oldChild->node_.parent() != node_) return false;
  if (!node_.insert_move_before(newChild->node_, oldChild->node_)) return false;
  Unpark(newChild->node_);
  node_.remove_child(oldChild->node_);
  oldChild->node_ = pugi::xml_node();
  return true;
}

std::unique_ptr<KvxXMLNodeList> KvxXMLNode::GetNodeList(const std::wstring& name) const {
  std::vector<pugi::xml_node> nodes;
  const std::string narrow = Narrow(name);
  for (pugi::xml_node child : node_.children(narrow.c_str())) nodes.push_back(child);
  return std::make_unique<KvxXMLNodeList>(document_, std::move(nodes));
}

std::unique_ptr<KvxXMLNode> KvxXMLNode::SelectSingleNode(const std::wstring& name) const {
  const pugi::xml_node child = node_.child(Narrow(name).c_str());
  if (!child) return nullptr;
  return std::make_unique<KvxXMLNode>(document_, child);
}

std::unique_ptr<KvxXMLNode> KvxXMLNode::GetParentNode() const {
  const pugi::xml_node parent = node_.parent();
  if (!parent || parent.type() != pugi::node_element || parent.name() == std::string_view(kStagingName)) {
    return nullptr;
  }
  return std::make_unique<KvxXMLNode>(document_, parent);
}

// --- KvxXMLNodeList --------------------------------------------------------------------------

KvxXMLNodeList::KvxXMLNodeList(KvxXMLDocument* document, std::vector<pugi::xml_node> nodes)
    : document_(document), nodes_(std::move(nodes)) {}

std::unique_ptr<KvxXMLNode> KvxXMLNodeList::GetItem(int index) const {
  if (index < 0 || index >= GetSize()) return nullptr;
  return std::make_unique<KvxXMLNode>(document_, nodes_[static_cast<size_t>(index)]);
}

// --- KvxXMLDocument --------------------------------------------------------------------------

KvxXMLDocument::KvxXMLDocument() = default;

KvxXMLDocument::~KvxXMLDocument() {
  // Handles to parked nodes may outlive the document; they must then leave its memory alone.
  std::erase_if(ParkedNodes(), [this](const auto& entry) { return entry.second.document == this; });
}

namespace {
// What the lenient parser lets through but a strict reader refuses (a second top-level element, an
// attribute given twice, a character XML cannot hold, a malformed name), and what goes beyond the limits.
// One pass without recursion, linear in the size of the document. No reason when the document passes.
struct Refusal {
  std::ptrdiff_t offset = -1;  // where in the text, when known
  std::wstring reason;
};

class DocumentCheck : public pugi::xml_tree_walker {
 public:
  Refusal Problem(pugi::xml_document& parsed) {
    int roots = 0;
    for (pugi::xml_node top : parsed.children()) {
      if (top.type() == pugi::node_element && ++roots > 1) {
        Fail(top, L"more than one root element");
        return problem_;
      }
    }
    if (roots == 0) return {-1, L"the document has no root element"};
    parsed.traverse(*this);
    return problem_;
  }

  bool for_each(pugi::xml_node& node) override {
    if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) {
      return IsXmlText(node.value()) || Fail(node, L"the text holds a character XML does not allow");
    }
    if (node.type() != pugi::node_element) return true;
    if (depth() >= KvxXMLDocument::kMaxDepth) {
      return Fail(node, L"elements nest deeper than " + std::to_wstring(KvxXMLDocument::kMaxDepth) + L" levels");
    }
    if (++elements_ > KvxXMLDocument::kMaxElements) {
      return Fail(node, L"more than " + std::to_wstring(KvxXMLDocument::kMaxElements) + L" elements");
    }
    if (!IsXmlName(node.name())) return Fail(node, L"the element name is not an XML name");
    return AttributesPass(node);
  }

 private:
  bool AttributesPass(const pugi::xml_node& node) {
    names_.clear();
    for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
      if (names_.size() == static_cast<size_t>(KvxXMLDocument::kMaxAttributes)) {
        return Fail(node, L"more than " + std::to_wstring(KvxXMLDocument::kMaxAttributes) + L" attributes");
      }
      if (!IsXmlName(a.name())) return Fail(node, L"attribute " + Widen(a.name()) + L" is not an XML name");
      if (!IsXmlText(a.value())) return Fail(node, L"attribute " + Widen(a.name()) + L" holds a character XML does not allow");
      names_.push_back(a.name());
    }
    // Sorted, so that a second attribute of a name shows in linear-logarithmic time whatever the count.
    std::sort(names_.begin(), names_.end());
    const auto twice = std::adjacent_find(names_.begin(), names_.end());
    if (twice != names_.end()) return Fail(node, L"attribute " + Widen(*twice) + L" is given twice");
    return true;
  }

  bool Fail(const pugi::xml_node& node, const std::wstring& what) {
    problem_ = {node.offset_debug(), what};
    return false;
  }

  Refusal problem_;
  long elements_ = 0;
  std::vector<std::string_view> names_;
};

// Why a parsed document cannot be taken, with no reason when it can.
Refusal Check(pugi::xml_document& parsed, const pugi::xml_parse_result& result) {
  if (!result) return {static_cast<std::ptrdiff_t>(result.offset), Widen(result.description())};
  return DocumentCheck().Problem(parsed);
}

// Line numbers are what a user can act on; pugixml reports byte offsets.
std::wstring Explain(const Refusal& refusal, std::string_view text) {
  if (refusal.offset < 0) return refusal.reason;
  const auto end = text.begin() + std::min(static_cast<size_t>(refusal.offset), text.size());
  const auto line = 1 + std::count(text.begin(), end, '\n');
  return L"line " + std::to_wstring(line) + L": " + refusal.reason;
}
}  // namespace

void KvxXMLDocument::Adopt(pugi::xml_document& fresh) {
  // Without parked nodes the parsed tree becomes the content as it is, without a copy.
  const pugi::xml_node staging = doc_.child(kStagingName);
  if (!staging || !staging.first_child()) {
    doc_ = std::move(fresh);
    return;
  }
  // The content is replaced, the parked nodes stay: their handles are still held by someone.
  ClearContent(doc_);
  for (pugi::xml_node child : fresh.children()) doc_.insert_copy_before(child, staging);
}

bool KvxXMLDocument::LoadText(const std::string& utf8, std::wstring& error) {
  pugi::xml_document fresh;
  const Refusal refusal =
      Check(fresh, fresh.load_buffer(utf8.data(), utf8.size(), pugi::parse_default, pugi::encoding_utf8));
  if (!refusal.reason.empty()) {
    error = Explain(refusal, utf8);
    return false;
  }
  Adopt(fresh);
  return true;
}

bool KvxXMLDocument::LoadFile(const std::wstring& path, std::wstring& error) {
  // pugixml reads the file in one piece and parses it where it lies.
  const std::string narrowPath = Narrow(path);
  // A folder or a device opens like a file but has no size to read in one piece.
  std::error_code kind;
  if (std::filesystem::exists(narrowPath, kind) && !std::filesystem::is_regular_file(narrowPath, kind)) {
    error = path + L": not a file";
    return false;
  }
  pugi::xml_document fresh;
  const pugi::xml_parse_result result = fresh.load_file(narrowPath.c_str(), pugi::parse_default, pugi::encoding_utf8);
  if (result.status == pugi::status_file_not_found) {
    error = path + L": cannot open the file";
    return false;
  }
  if (result.status == pugi::status_io_error || result.status == pugi::status_out_of_memory) {
    error = path + L": cannot read the file";
    return false;
  }
  const Refusal refusal = Check(fresh, result);
  if (!refusal.reason.empty()) {
    // Read again only to give the line of the problem.
    std::ifstream file(narrowPath, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    error = path + L": " + Explain(refusal, text);
    return false;
  }
  Adopt(fresh);
  return true;
}

namespace {
// Collects the written document in one string.
class StringWriter : public pugi::xml_writer {
 public:
  explicit StringWriter(std::string& out) : out_(out) {}
  void write(const void* data, size_t size) override { out_.append(static_cast<const char*>(data), size); }

 private:
  std::string& out_;
};

// Hands the written document on in pieces of about 64 KiB, so a save never holds its whole text.
class PieceWriter : public pugi::xml_writer {
 public:
  explicit PieceWriter(const kvx::platform::PieceSink& sink) : sink_(sink) { buffer_.reserve(kPiece); }
  void write(const void* data, size_t size) override {
    buffer_.append(static_cast<const char*>(data), size);
    if (buffer_.size() >= kPiece) Flush();
  }
  // Writes what is left; false when any piece was not written.
  bool Finish() {
    Flush();
    return ok_;
  }

 private:
  static constexpr size_t kPiece = 64 * 1024;
  void Flush() {
    ok_ = ok_ && sink_(buffer_);
    buffer_.clear();
  }
  const kvx::platform::PieceSink& sink_;
  std::string buffer_;
  bool ok_ = true;
};

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
}  // namespace

void KvxXMLDocument::Print(pugi::xml_writer& out) const {
  out.write(kDeclaration.data(), kDeclaration.size());
  for (pugi::xml_node child : doc_.children()) {
    if (child.type() == pugi::node_declaration) continue;
    if (child.name() == std::string_view(kStagingName)) continue;
    child.print(out, "  ", pugi::format_indent, pugi::encoding_utf8);
  }
}

std::string KvxXMLDocument::ToText() const {
  std::string text;
  StringWriter out(text);
  Print(out);
  return text;
}

bool KvxXMLDocument::SaveFile(const std::wstring& path, std::wstring& error) const {
  const kvx::platform::WriteResult written =
      kvx::platform::WriteFileAtomicallyInPieces(path, [this](const kvx::platform::PieceSink& sink) {
        PieceWriter out(sink);
        Print(out);
        return out.Finish();
      });
  error = written.description;
  return static_cast<bool>(written);
}

pugi::xml_node KvxXMLDocument::Staging() {
  pugi::xml_node staging = doc_.child(kStagingName);
  if (!staging) staging = doc_.append_child(kStagingName);
  return staging;
}

bool KvxXMLDocument::IsParked(pugi::xml_node node) const {
  const pugi::xml_node parent = node.parent();
  return parent && parent.parent() == doc_ && parent.name() == std::string_view(kStagingName);
}

std::unique_ptr<KvxXMLNode> KvxXMLDocument::CreateNode(const std::wstring& name) {
  const std::string narrowName = Narrow(name);
  if (!IsXmlName(narrowName)) return nullptr;
  pugi::xml_node node = Staging().append_child(narrowName.c_str());
  if (!node) return nullptr;
  ParkedNodes()[node.internal_object()] = ParkedNode{this, 0};
  return std::make_unique<KvxXMLNode>(this, node);
}

std::unique_ptr<KvxXMLNode> KvxXMLDocument::GetRootNode() {
  for (pugi::xml_node child : doc_.children()) {
    if (child.type() == pugi::node_element && child.name() != std::string_view(kStagingName)) {
      return std::make_unique<KvxXMLNode>(this, child);
    }
  }
  return nullptr;
}

std::unique_ptr<KvxXMLNode> KvxXMLDocument::CreateRootNode(const std::wstring& name) {
  ClearContent(doc_);
  // Ahead of the parked nodes, so the root is the document's first element.
  pugi::xml_node root = doc_.prepend_child(Narrow(name).c_str());
  return std::make_unique<KvxXMLNode>(this, root);
}
