#pragma once
// The workbook stream inside an .xls file, which is a compound document: a small file system of
// sectors and streams that holds the workbook's records in its stream "Workbook".
#include <optional>
#include <string>
#include <string_view>

namespace kvx::params::detail {

// The bytes of the "Workbook" stream (its name compared without case) of the file at `path`, or of a
// file held in memory. Nothing when the file cannot be read, is no compound document, holds no such
// stream (as files older than BIFF8 do) or is damaged.
std::optional<std::string> WorkbookStreamOfFile(const std::string& path);
std::optional<std::string> WorkbookStreamOfBytes(std::string_view file);

}  // namespace kvx::params::detail
