#pragma once
// The floor of the rule-set round trip: what pugixml alone needs to load a rule-set file, visit every
// attribute and every <Value> text, and write the document back durably (temporary file, fsync, rename),
// as the host's save does. Shared by the benchmark and the floor process.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <pugixml.hpp>
#include <string>

namespace kvx::bench {

// Writes through a file descriptor so the floor can sync it like the real save.
class FdWriter : public pugi::xml_writer {
 public:
  explicit FdWriter(int fd) : fd_(fd) {}
  void write(const void* data, size_t size) override {
    const char* bytes = static_cast<const char*>(data);
    while (size > 0 && ok) {
      const ssize_t n = ::write(fd_, bytes, size);
      if (n <= 0) ok = false; else { bytes += n; size -= static_cast<size_t>(n); }
    }
  }
  bool ok = true;

 private:
  int fd_;
};

// Returns the count of attributes, values and their characters visited; 0 when the file cannot be read
// or written.
inline std::size_t RuleSetFloor(const std::string& input, const std::string& output) {
  pugi::xml_document document;
  if (!document.load_file(input.c_str(), pugi::parse_default, pugi::encoding_utf8)) return 0;
  std::size_t visited = 0;
  std::size_t characters = 0;
  struct Walker : pugi::xml_tree_walker {
    std::size_t* visited;
    std::size_t* characters;
    bool for_each(pugi::xml_node& node) override {
      for (pugi::xml_attribute a : node.attributes()) {
        *characters += std::strlen(a.value());
        ++*visited;
      }
      if (std::strcmp(node.name(), "Value") == 0) {
        *characters += std::strlen(node.child_value());
        ++*visited;
      }
      return true;
    }
  } walker;
  walker.visited = &visited;
  walker.characters = &characters;
  document.traverse(walker);

  const std::string temporary = output + ".floor-tmp";
  const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd < 0) return 0;
  FdWriter writer(fd);
  document.save(writer, "  ", pugi::format_indent, pugi::encoding_utf8);
  const bool synced = writer.ok && ::fsync(fd) == 0;
  const bool closed = ::close(fd) == 0;
  if (!synced || !closed || std::rename(temporary.c_str(), output.c_str()) != 0) return 0;
  return visited + characters;
}

}  // namespace kvx::bench
