// A stand-in resource library for the spreadsheet tests: every string reads "text <id>", so a test sees
// which message was chosen, and the format of the empty-columns message can be set per test.
#include <string>

namespace {
std::string g_text;
std::string g_emptyColumnsFormat = "Columns %s are empty";
}  // namespace

extern "C" __attribute__((visibility("default"))) const char* KvxResString(int id) {
  if (id == 2535) return g_emptyColumnsFormat.c_str();
  g_text = "text " + std::to_string(id);
  return g_text.c_str();
}

extern "C" __attribute__((visibility("default"))) const unsigned char* KvxResPicture(int, unsigned long* size,
                                                                                    const char** format) {
  *size = 0;
  *format = "";
  return nullptr;
}

extern "C" __attribute__((visibility("default"))) void SheetTestSetEmptyColumnsFormat(const char* format) {
  g_emptyColumnsFormat = format;
}
