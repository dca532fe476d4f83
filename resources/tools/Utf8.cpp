#include "Utf8.h"

namespace kvx::rescomp {

namespace {

bool IsContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// Length of the sequence that starts with `lead`, 0 for a byte that cannot start one.
int SequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

// The second byte carries the limits that rule out overlong forms, surrogates and values past U+10FFFF.
bool SecondByteAllowed(unsigned char lead, unsigned char second) {
  if (lead == 0xE0) return second >= 0xA0;
  if (lead == 0xED) return second <= 0x9F;
  if (lead == 0xF0) return second >= 0x90;
  if (lead == 0xF4) return second <= 0x8F;
  return true;
}

}  // namespace

bool IsValidUtf8(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const int length = SequenceLength(lead);
    if (length == 0 || i + length > text.size()) return false;
    for (int k = 1; k < length; ++k) {
      if (!IsContinuation(static_cast<unsigned char>(text[i + k]))) return false;
    }
    if (length > 1 && !SecondByteAllowed(lead, static_cast<unsigned char>(text[i + 1]))) return false;
    i += length;
  }
  return true;
}

}  // namespace kvx::rescomp
