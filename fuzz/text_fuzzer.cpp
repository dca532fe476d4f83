// The parsers that take free text: number texts, operator words, list splitting, column letters, the
// UTF-8 edge and unit conversion of whatever number a text holds.
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "kvx/framework/KvxUnitConvertor.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Text.h"
#include "kvx/spreadsheet/ColumnWalk.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kvx::params;
  if (size < 2) return 0;
  // The first two bytes choose the unit pair; the rest is the text.
  const int from = data[0] % 12;
  const int to = data[1] % 12;
  const std::string_view utf8(reinterpret_cast<const char*>(data + 2), size - 2);
  const std::wstring text = kvx::platform::Widen(utf8);
  if (kvx::platform::Widen(kvx::platform::Narrow(text)) != text) std::abort();  // the UTF-8 edge round-trips

  const double number = ToDouble(text);
  for (int kind : {1, 2}) CKVXUnitConvertor::ConversionFromOneUnitToAnother(number, kind, from, to);
  const std::wstring normalised = NormaliseNumberText(text);
  if (NormaliseNumberText(normalised) != normalised) std::abort();  // normalising twice changes nothing
  std::wstring trimmed = text;
  TrimNumberText(trimmed);
  IsNumeric(text);
  if (const int op = TextToOperator(text); op != 0 && TextToOperator(OperatorToText(op)) != op) std::abort();
  std::vector<std::wstring> tokens;
  SplitText(text, L";,", tokens);
  JoinTexts(tokens);
  kvx::sheet::ColumnNumber(text, 16384);
  if (std::isfinite(number)) DoubleToShortText(RoundTo(number, from));
  return 0;
}
