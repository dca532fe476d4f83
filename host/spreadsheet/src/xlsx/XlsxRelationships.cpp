#include "XlsxRelationships.h"

#include <algorithm>

#include "XlsxParts.h"

namespace kvx::sheet::xlsx {

std::string FolderOf(const std::string& part) {
  const auto slash = part.rfind('/');
  return slash == std::string::npos ? std::string() : part.substr(0, slash + 1);
}

std::string ResolveTarget(const std::string& folder, std::string_view target) {
  std::string joined = !target.empty() && target.front() == '/' ? std::string(target.substr(1))
                                                                 : folder + std::string(target);
  std::vector<std::string> segments;
  std::size_t start = 0;
  while (start <= joined.size()) {
    const auto end = std::min(joined.find('/', start), joined.size());
    const std::string segment = joined.substr(start, end - start);
    if (segment == "..") {
      if (!segments.empty()) segments.pop_back();
    } else if (!segment.empty() && segment != ".") {
      segments.push_back(segment);
    }
    start = end + 1;
  }
  std::string resolved;
  for (const auto& segment : segments) resolved += (resolved.empty() ? "" : "/") + segment;
  return resolved;
}

std::vector<Relationship> ReadRelationships(zip_t* archive, const std::string& part) {
  const std::string folder = FolderOf(part);
  XmlPart rels;
  if (!rels.Load(archive, folder + "_rels/" + part.substr(folder.size()) + ".rels")) return {};
  std::vector<Relationship> result;
  for (pugi::xml_node node : Child(rels.document, "Relationships").children()) {
    if (!Named(node, "Relationship")) continue;
    result.push_back({node.attribute("Id").value(), node.attribute("Type").value(),
                      ResolveTarget(folder, node.attribute("Target").value())});
  }
  return result;
}

std::string TargetOfType(const std::vector<Relationship>& relationships, std::string_view typeTail) {
  for (const auto& relationship : relationships) {
    const std::string_view type = relationship.type;
    if (type.size() > typeTail.size() && type.substr(type.size() - typeTail.size()) == typeTail &&
        type[type.size() - typeTail.size() - 1] == '/')
      return relationship.target;
  }
  return {};
}

std::string WorkbookPart(zip_t* archive) {
  const std::string named = TargetOfType(ReadRelationships(archive, ""), "officeDocument");
  return named.empty() ? std::string("xl/workbook.xml") : named;
}

}  // namespace kvx::sheet::xlsx
