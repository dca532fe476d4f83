#pragma once
// Archive members of an .xlsx file (libzip) and the XML helpers every part reader shares.
#include <zip.h>

#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace kvx::sheet::xlsx {

// Whitespace-only texts are values too (a cell holding " " is not empty).
inline constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_ws_pcdata_single;
// A part that inflates to more than this is not a table anyone meant to import; neither is one whose
// declared size its compressed data could not hold.
inline constexpr zip_uint64_t kMaxPartBytes = zip_uint64_t{1} << 30;
// A whole part is held (and parsed) in memory at once only up to this size; sheets stream past it.
inline constexpr zip_uint64_t kMaxWholePartBytes = zip_uint64_t{256} << 20;

struct ZipDiscard {
  void operator()(zip_t* archive) const { zip_discard(archive); }
};
using ZipArchive = std::unique_ptr<zip_t, ZipDiscard>;

struct ZipFileClose {
  void operator()(zip_file_t* file) const { zip_fclose(file); }
};

// An archive member read in pieces; part names compare without case. The size the archive declares is
// only an upper bound: memory grows with the bytes actually inflated, never with the claim.
class PartStream {
 public:
  // False when the member is missing, cannot be opened, or declares more than `limit` bytes (or more than
  // its compressed data can inflate to).
  bool Open(zip_t* archive, const std::string& name, zip_uint64_t limit = kMaxPartBytes);
  // Appends up to `count` more bytes to `bytes`: the number appended, 0 at the end of the member, -1 when
  // it is damaged (libzip checks the CRC when the end is reached) or not as long as it said.
  zip_int64_t ReadMore(std::string& bytes, std::size_t count);
  zip_uint64_t Size() const { return size_; }

 private:
  std::unique_ptr<zip_file_t, ZipFileClose> file_;
  zip_uint64_t size_ = 0;
  zip_uint64_t read_ = 0;
};

// The whole content of the archive member `name`. False when it is missing, larger than
// kMaxWholePartBytes or damaged.
bool ReadPart(zip_t* archive, const std::string& name, std::string& bytes);

// A part parsed in place: the DOM points into the inflated bytes, which therefore live beside it.
struct XmlPart {
  std::string bytes;
  pugi::xml_document document;

  bool Load(zip_t* archive, const std::string& name);
};

// Element and attribute names may carry a namespace prefix ("x:row") in sheets other programs write.
std::string_view LocalName(const char* name);
bool Named(const pugi::xml_node& node, std::string_view local);
pugi::xml_node Child(const pugi::xml_node& parent, std::string_view local);
pugi::xml_attribute Attribute(const pugi::xml_node& node, std::string_view local);

}  // namespace kvx::sheet::xlsx
