#include "kvx/framework/KvxXML.h"

#include <cctype>
#include <cwchar>
#include <sstream>
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

bool IsNameStart(unsigned char c) { return c >= 0x80 || std::isalpha(c) || c == '_' || c == ':'; }
bool IsNameChar(unsigned char c) { return IsNameStart(c) || std::isdigit(c) || c == '-' || c == '.'; }

// Element and attribute names must be XML names, or the written file could not be read back.
bool IsXmlName(const std::string& name) {
  if (name.empty() || !IsNameStart(static_cast<unsigned char>(name.front()))) return false;
  for (char c : name) {
    if (!IsNameChar(static_cast<unsigned char>(c))) return false;
  }
  return true;
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
  return attribute.set_value(Narrow(value).c_str());
}

bool KvxXMLNode::GetAttributeValue(const std::wstring& name, std::wstring& value) const {
  const pugi::xml_attribute attribute = node_.attribute(Narrow(name).c_str());
  if (!attribute) return false;
  value = Widen(attribute.value());
  return true;
}

void KvxXMLNode::SetNodeValue(const std::wstring& text) {
  if (node_) node_.text().set(Narrow(text).c_str());
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
// Line numbers are what a user can act on; pugixml reports byte offsets.
std::wstring LineOf(std::ptrdiff_t offset, const std::string& text) {
  size_t line = 1;
  for (size_t i = 0; offset > 0 && i < static_cast<size_t>(offset) && i < text.size(); ++i) line += text[i] == '\n';
  return L"line " + std::to_wstring(line) + L": ";
}

// What the lenient parser lets through but other readers refuse: a second top-level element and an
// attribute given twice. Empty when the document is well-formed.
std::wstring WellFormednessProblem(pugi::xml_document& parsed, const std::string& text) {
  int roots = 0;
  for (pugi::xml_node top : parsed.children()) {
    if (top.type() == pugi::node_element && ++roots > 1) {
      return LineOf(top.offset_debug(), text) + L"more than one root element";
    }
  }
  if (roots == 0) return L"the document has no root element";
  std::wstring problem;
  struct Walker : pugi::xml_tree_walker {
    const std::string* source = nullptr;
    std::wstring* found = nullptr;
    bool for_each(pugi::xml_node& node) override {
      for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
        for (pugi::xml_attribute b = a.next_attribute(); b; b = b.next_attribute()) {
          if (std::string_view(a.name()) != b.name()) continue;
          *found = LineOf(node.offset_debug(), *source) + L"attribute " + Widen(a.name()) + L" is given twice";
          return false;
        }
      }
      return true;
    }
  } walker;
  walker.source = &text;
  walker.found = &problem;
  parsed.traverse(walker);
  return problem;
}
}  // namespace

bool KvxXMLDocument::LoadText(const std::string& utf8, std::wstring& error) {
  pugi::xml_document fresh;
  const pugi::xml_parse_result result = fresh.load_buffer(utf8.data(), utf8.size(), pugi::parse_default,
                                                          pugi::encoding_utf8);
  if (!result) {
    error = LineOf(result.offset, utf8) + Widen(result.description());
    return false;
  }
  if (std::wstring problem = WellFormednessProblem(fresh, utf8); !problem.empty()) {
    error = problem;
    return false;
  }
  // The content is replaced, the parked nodes stay: their handles are still held by someone.
  ClearContent(doc_);
  const pugi::xml_node staging = doc_.child(kStagingName);
  for (pugi::xml_node child : fresh.children()) {
    if (staging) doc_.insert_copy_before(child, staging);
    else doc_.append_copy(child);
  }
  return true;
}

bool KvxXMLDocument::LoadFile(const std::wstring& path, std::wstring& error) {
  std::string bytes;
  {
    FILE* file = std::fopen(Narrow(path).c_str(), "rb");
    if (!file) {
      error = path + L": cannot open the file";
      return false;
    }
    char buffer[65536];
    size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0) bytes.append(buffer, n);
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed) {
      error = path + L": cannot read the file";
      return false;
    }
  }
  if (!LoadText(bytes, error)) {
    error = path + L": " + error;
    return false;
  }
  return true;
}

std::string KvxXMLDocument::ToText() const {
  std::ostringstream out;
  out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  for (pugi::xml_node child : doc_.children()) {
    if (child.type() == pugi::node_declaration) continue;
    if (child.name() == std::string_view(kStagingName)) continue;
    child.print(out, "  ", pugi::format_indent, pugi::encoding_utf8);
  }
  return out.str();
}

bool KvxXMLDocument::SaveFile(const std::wstring& path, std::wstring& error) const {
  return kvx::platform::WriteFileAtomically(path, ToText(), &error);
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
