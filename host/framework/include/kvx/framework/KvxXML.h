#pragma once
// The framework's XML wrapper over pugixml. Texts are wide; the files are UTF-8.
// Node objects handed out are owned by the caller; a node created with CreateNode and never
// appended anywhere disappears from the document when its last handle is released.
#include <pugixml.hpp>

#include <memory>
#include <string>
#include <vector>

#include "kvx/framework/FrameworkExport.h"

class KvxXMLDocument;
class KvxXMLNodeList;

class KVX_FRAMEWORK_API KvxXMLNode {
 public:
  KvxXMLNode(KvxXMLDocument* document, pugi::xml_node node);
  ~KvxXMLNode();
  KvxXMLNode(const KvxXMLNode&) = delete;
  KvxXMLNode& operator=(const KvxXMLNode&) = delete;

  std::wstring GetNodeName() const;
  // Adds an attribute after the existing ones; false on an empty name.
  bool AddAttribute(const std::wstring& name, const std::wstring& value);
  // True when the attribute exists; its text goes to `value` (left untouched otherwise).
  bool GetAttributeValue(const std::wstring& name, std::wstring& value) const;
  // Replaces the element's text. Here and in attribute values, characters no XML document can hold (most
  // control characters, unpaired surrogates) become U+FFFD.
  void SetNodeValue(const std::wstring& text);
  // The element's text; empty when it has none.
  std::wstring GetNodeValue() const;
  // The element's text read as a base-10 integer; 0 when it is not one.
  int GetNodeValueInInt() const;
  // Moves `child` (a node of the same document) under this element, after the last child; false otherwise.
  bool AppendNode(KvxXMLNode* child);
  // Adds a new element called `name` after the last child, with `text` as its text unless that is empty;
  // null when `name` is not an XML name. What CreateNode and AppendNode do, without parking the element.
  std::unique_ptr<KvxXMLNode> AppendElement(const std::wstring& name, const std::wstring& text);
  // Puts `newChild` where `oldChild` (a child of this element) stands and drops `oldChild`; false otherwise.
  bool ReplaceChild(KvxXMLNode* newChild, KvxXMLNode* oldChild);
  // The child elements called `name`, in document order (an empty list when there are none).
  std::unique_ptr<KvxXMLNodeList> GetNodeList(const std::wstring& name) const;
  // The first child element called `name`, or null.
  std::unique_ptr<KvxXMLNode> SelectSingleNode(const std::wstring& name) const;
  // The parent element, or null at the top of the document.
  std::unique_ptr<KvxXMLNode> GetParentNode() const;

  KvxXMLDocument* GetDocument() const { return document_; }
  pugi::xml_node Raw() const { return node_; }

 private:
  KvxXMLDocument* document_;
  pugi::xml_node node_;
  unsigned long generation_;  // the document's content generation this node belongs to
};

class KVX_FRAMEWORK_API KvxXMLNodeList {
 public:
  KvxXMLNodeList(KvxXMLDocument* document, std::vector<pugi::xml_node> nodes);
  int GetSize() const { return static_cast<int>(nodes_.size()); }
  // Node `index`, or null when out of range.
  std::unique_ptr<KvxXMLNode> GetItem(int index) const;

 private:
  KvxXMLDocument* document_;
  std::vector<pugi::xml_node> nodes_;
};

class KVX_FRAMEWORK_API KvxXMLDocument {
 public:
  // What a loaded document may hold at most; beyond, it is refused with a reason before it can exhaust the
  // stack, the memory or the time. Far above any rule set (seven levels, a few attributes per element).
  static constexpr int kMaxDepth = 256;
  static constexpr long kMaxElements = 5'000'000;
  static constexpr int kMaxAttributes = 10'000;

  KvxXMLDocument();
  ~KvxXMLDocument();
  KvxXMLDocument(const KvxXMLDocument&) = delete;
  KvxXMLDocument& operator=(const KvxXMLDocument&) = delete;

  // Replaces the content with the file's; false with a one-line reason (file, line, problem) otherwise.
  bool LoadFile(const std::wstring& path, std::wstring& error);
  // Replaces the content with the UTF-8 text; false with a reason otherwise.
  bool LoadText(const std::string& utf8, std::wstring& error);
  // The document as UTF-8 text with an XML declaration, indented.
  std::string ToText() const;
  // Writes the document atomically; false (file untouched) with a reason otherwise.
  bool SaveFile(const std::wstring& path, std::wstring& error) const;

  // A new element belonging to this document, not yet placed anywhere.
  std::unique_ptr<KvxXMLNode> CreateNode(const std::wstring& name);
  // The document's root element, or null when it has none.
  std::unique_ptr<KvxXMLNode> GetRootNode();
  // Makes a new root element called `name` (replacing any content).
  std::unique_ptr<KvxXMLNode> CreateRootNode(const std::wstring& name);

  // Used by KvxXMLNode: true when `node` is a created node that was never placed.
  bool IsParked(pugi::xml_node node) const;
  // Grows whenever the whole content is replaced; nodes of an older generation are gone.
  unsigned long Generation() const { return generation_; }

 private:
  pugi::xml_node Staging();
  // The document's text (declaration, then the content without the parked nodes) into `out`.
  void Print(pugi::xml_writer& out) const;
  // Makes a parsed and checked document the content, keeping the parked nodes.
  void Adopt(pugi::xml_document& fresh);
  pugi::xml_document doc_;
  unsigned long generation_ = 0;
};
