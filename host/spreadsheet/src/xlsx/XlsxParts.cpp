#include "XlsxParts.h"

#include <algorithm>
#include <cstring>

namespace kvx::sheet::xlsx {

namespace {
// Deflate cannot expand data by more than about 1032 to 1; a declared size beyond that is a lie.
constexpr zip_uint64_t kMaxDeflateRatio = 1032;
constexpr zip_uint64_t kDeflateSlack = 1024;
// Bytes asked of libzip at first when a whole part is read; each later request is as large as what has
// arrived, so the string doubles with the data and a tiny member that claims megabytes stays tiny.
constexpr std::size_t kFirstChunkBytes = std::size_t{64} << 10;

bool DeclaredSizeIsPossible(const zip_stat_t& stat) {
  if (!(stat.valid & ZIP_STAT_COMP_SIZE) || !(stat.valid & ZIP_STAT_COMP_METHOD)) return true;
  if (stat.comp_method == ZIP_CM_STORE) return stat.size == stat.comp_size;
  if (stat.comp_method == ZIP_CM_DEFLATE) return stat.size / kMaxDeflateRatio <= stat.comp_size + kDeflateSlack;
  return true;
}
}  // namespace

bool PartStream::Open(zip_t* archive, const std::string& name, zip_uint64_t limit) {
  const zip_int64_t index = zip_name_locate(archive, name.c_str(), ZIP_FL_NOCASE);
  if (index < 0) return false;
  zip_stat_t stat;
  if (zip_stat_index(archive, static_cast<zip_uint64_t>(index), 0, &stat) != 0 || !(stat.valid & ZIP_STAT_SIZE) ||
      stat.size > limit || !DeclaredSizeIsPossible(stat))
    return false;
  size_ = stat.size;
  file_.reset(zip_fopen_index(archive, static_cast<zip_uint64_t>(index), 0));
  return file_ != nullptr;
}

zip_int64_t PartStream::ReadMore(std::string& bytes, std::size_t count) {
  const std::size_t old = bytes.size();
  bytes.resize(old + count);
  const zip_int64_t n = zip_fread(file_.get(), bytes.data() + old, count);
  bytes.resize(old + static_cast<std::size_t>(std::max<zip_int64_t>(n, 0)));
  if (n > 0) read_ += static_cast<zip_uint64_t>(n);
  if (n < 0 || read_ > size_ || (n == 0 && read_ != size_)) return -1;
  return n;
}

bool ReadPart(zip_t* archive, const std::string& name, std::string& bytes) {
  PartStream part;
  if (!part.Open(archive, name, kMaxWholePartBytes)) return false;
  bytes.clear();
  zip_int64_t n = 0;
  // Asks for one byte past the declared end, so that a member longer than it said is caught.
  const auto nextChunk = [&] {
    return std::min<zip_uint64_t>(part.Size() - bytes.size() + 1, std::max(bytes.size(), kFirstChunkBytes));
  };
  while ((n = part.ReadMore(bytes, nextChunk())) > 0) {
  }
  return n == 0;
}

bool XmlPart::Load(zip_t* archive, const std::string& name) {
  if (!ReadPart(archive, name, bytes)) return false;
  return static_cast<bool>(document.load_buffer_inplace(bytes.data(), bytes.size(), kParseOptions));
}

std::string_view LocalName(const char* name) {
  const char* colon = std::strchr(name, ':');
  return colon ? std::string_view(colon + 1) : std::string_view(name);
}

bool Named(const pugi::xml_node& node, std::string_view local) {
  return node.type() == pugi::node_element && LocalName(node.name()) == local;
}

pugi::xml_node Child(const pugi::xml_node& parent, std::string_view local) {
  for (pugi::xml_node child : parent.children())
    if (Named(child, local)) return child;
  return {};
}

pugi::xml_attribute Attribute(const pugi::xml_node& node, std::string_view local) {
  for (pugi::xml_attribute attribute : node.attributes())
    if (LocalName(attribute.name()) == local) return attribute;
  return {};
}

}  // namespace kvx::sheet::xlsx
