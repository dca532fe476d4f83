#pragma once
// The relationship parts of an .xlsx package: which part is the workbook, its sheets, texts and styles.
#include <zip.h>

#include <string>
#include <string_view>
#include <vector>

namespace kvx::sheet::xlsx {

struct Relationship {
  std::string id;
  std::string type;
  std::string target;  // resolved to a part name
};

// The folder part of a part name, with its trailing "/" ("xl/workbook.xml" -> "xl/").
std::string FolderOf(const std::string& part);
// A relationship target resolved against the folder of its source part: "/xl/x.xml" is rooted,
// "worksheets/sheet1.xml" and "../x.xml" are relative.
std::string ResolveTarget(const std::string& folder, std::string_view target);
// The relationships of `part` from its "_rels/<name>.rels" companion; empty when there is none.
std::vector<Relationship> ReadRelationships(zip_t* archive, const std::string& part);
// The target of the first relationship whose type ends in `/typeTail`; empty when none does.
std::string TargetOfType(const std::vector<Relationship>& relationships, std::string_view typeTail);
// The workbook part the package names, "xl/workbook.xml" when it names none.
std::string WorkbookPart(zip_t* archive);

}  // namespace kvx::sheet::xlsx
