#include "kvx/framework/KvxXML.h"

#include <cwchar>
#include <sstream>

#include "kvx/platform/FileSystem.h"
#include "kvx/platform/Text.h"

using kvx::platform::Narrow;
using kvx::platform::Widen;

namespace {
// Created nodes wait under this top-level element until they are appended somewhere.
constexpr const char* kStagingName = "kvx-staging";
}  // namespace

// --- KvxXMLNode ------------------------------------------------------------------------------

KvxXMLNode::KvxXMLNode(KvxXMLDocument* document, pugi::xml_node node) : document_(document), node_(node) {}

KvxXMLNode::~KvxXMLNode() {
  if (document_ && node_ && document_->IsParked(node_)) node_.parent().remove_child(node_);
}

std::wstring KvxXMLNode::GetNodeName() const { return Widen(node_.name()); }

bool KvxXMLNode::AddAttribute(const std::wstring& name, const std::wstring& value) {
  if (!node_ || name.empty()) return false;
  return static_cast<bool>(node_.append_attribute(Narrow(name).c_str()).set_value(Narrow(value).c_str()));
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
  return static_cast<bool>(node_.append_move(child->node_));
}

bool KvxXMLNode::ReplaceChild(KvxXMLNode* newChild, KvxXMLNode* oldChild) {
  if (!node_ || !newChild || !oldChild || oldChild->node_.parent() != node_) return false;
  if (!node_.insert_move_before(newChild->node_, oldChild->node_)) return false;
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
KvxXMLDocument::~KvxXMLDocument() = default;

namespace {
std::wstring ParseError(const pugi::xml_parse_result& result, const std::string& text) {
  // Line numbers are what a user can act on; pugixml reports byte offsets.
  const auto offset = static_cast<size_t>(result.offset);
  size_t line = 1;
  for (size_t i = 0; i < offset && i < text.size(); ++i) line += text[i] == '\n';
  return L"line " + std::to_wstring(line) + L": " + Widen(result.description());
}
}  // namespace

bool KvxXMLDocument::LoadText(const std::string& utf8, std::wstring& error) {
  pugi::xml_document fresh;
  const pugi::xml_parse_result result = fresh.load_buffer(utf8.data(), utf8.size(), pugi::parse_default,
                                                          pugi::encoding_utf8);
  if (!result) {
    error = ParseError(result, utf8);
    return false;
  }
  if (!fresh.document_element()) {
    error = L"the document has no root element";
    return false;
  }
  doc_.reset(fresh);
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
  if (name.empty()) return nullptr;
  pugi::xml_node node = Staging().append_child(Narrow(name).c_str());
  if (!node) return nullptr;
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
  doc_.reset();
  pugi::xml_node root = doc_.append_child(Narrow(name).c_str());
  return std::make_unique<KvxXMLNode>(this, root);
}
