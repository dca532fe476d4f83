#pragma once
// Test support: compares written XML with an expected text written out in the test. Both sides become
// one canonical line (attributes in their order, element texts, no indentation, empty texts dropped), so
// a test states the exact element order and attribute order without depending on pretty-printing.
#include <gtest/gtest.h>

#include <pugixml.hpp>

#include <string>

#include "kvx/framework/KvxXML.h"

namespace kvx::test {

inline std::string CanonicalXml(const pugi::xml_node& node) {
  if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) return node.value();
  if (node.type() != pugi::node_element) return {};
  std::string out = std::string("<") + node.name();
  for (const pugi::xml_attribute& attribute : node.attributes()) {
    out += std::string(" ") + attribute.name() + "=\"" + attribute.value() + "\"";
  }
  out += ">";
  for (const pugi::xml_node& child : node.children()) out += CanonicalXml(child);
  return out + "</" + node.name() + ">";
}

// The canonical line of a written element; "(null)" for no element.
inline std::string CanonicalXml(const KvxXMLNode* node) { return node ? CanonicalXml(node->Raw()) : "(null)"; }

// The canonical line of the (single) root element of `xml`, which may be indented freely.
inline std::string CanonicalXml(const std::string& xml) {
  pugi::xml_document document;
  const pugi::xml_parse_result result = document.load_string(xml.c_str());
  EXPECT_TRUE(result) << result.description() << " in the expected XML";
  return CanonicalXml(document.document_element());
}

}  // namespace kvx::test
