#include "kvx/params/ValueUtils.h"

#include <charconv>
#include <cmath>
#include <sstream>

#include "kvx/framework/KvxOperators.h"
#include "kvx/framework/KvxUnits.h"
#include "kvx/params/ResourceText.h"
#include "kvx/platform/Environment.h"
#include "kvx/platform/FileSystem.h"
#include "kvx/platform/Locale.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Settings.h"
#include "kvx/platform/Text.h"
#include "kvx/res/StringIds.h"

namespace kvx::params {

namespace {
constexpr const wchar_t* kNumberCharacters = L".0123456789";

bool EndsWith(const std::wstring& text, const std::wstring& tail) {
  return !tail.empty() && text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// The user's decimal separator, asked once: the system's answer does not change while the module runs.
const std::wstring& DecimalSeparator() {
  static const std::wstring separator = kvx::platform::UserDecimalSeparator();
  return separator;
}

// Puts one "0" back after a trailing decimal separator, so "3." reads "3.0".
void RestoreZeroAfterSeparator(std::wstring& text) {
  if (!text.empty() && EndsWith(text, DecimalSeparator())) text += L"0";
}

// The shown text of unit `code` of quantity `kind`; empty for a unit without one.
std::wstring UnitText(int kind, int code) {
  const KvxUnit* unit = FindKvxUnit(kind, code);
  return unit && unit->textId != 0 ? LoadLocalizedString(unit->textId) : std::wstring();
}

constexpr int kFirstSeverityName = kvx::res::kSeverityVeryLow;
constexpr int kSeverityNameCount = 5;

}  // namespace

// --- Operators -------------------------------------------------------------------------------

std::wstring OperatorToText(int op) { return std::wstring(KvxOperatorWordOf(op)); }

int TextToOperator(const std::wstring& text) {
  for (const KvxOperatorWord& entry : kKvxOperatorWords) {
    if (kvx::platform::EqualsNoCase(text, std::wstring(entry.word))) return entry.op;
  }
  return 0;
}

// --- Numbers ---------------------------------------------------------------------------------

double RoundTo(double x, int decimals) {
  // The cut sits at six tenths of the last kept digit, and 1e-10 keeps the later text form from
  // falling just below the decimal: both constants are kept as they are, stored values depend on them.
  const double scale = std::pow(10.0, decimals);
  const double bias = 4.0 / std::pow(10.0, decimals + 1);
  return std::floor((x + bias) * scale) / scale + 1e-10;
}

std::wstring DoubleToShortText(double value) {
  // The digits of "%lf" (fixed, six decimals), without the formatter: spreadsheet imports call this for
  // every cell.
  char buffer[400];
  const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 6);
  if (error != std::errc()) return fmt::sprintf(L"%lf", value);
  const char* last = end;
  while (last != buffer && last[-1] == '0') --last;
  std::wstring text(static_cast<const char*>(buffer), last);
  RestoreZeroAfterSeparator(text);
  return text;
}

void TrimNumberText(std::wstring& text) {
  // Zeros go also from texts without a separator ("100" -> "1"); kept as it is, callers only pass texts
  // that hold one.
  const auto last = text.find_last_not_of(L'0');
  text.erase(last == std::wstring::npos ? 0 : last + 1);
  if (!text.empty() && EndsWith(text, DecimalSeparator())) text = FormatText(L"%s%s", text, L"0");
}

bool IsNumeric(const std::wstring& text) { return text.find_first_not_of(kNumberCharacters) == std::wstring::npos; }

double ToDouble(const std::wstring& text) {
  const auto first = text.find_first_not_of(L" \t\r\n\v\f");
  if (first == std::wstring::npos) return 0.0;
  const auto last = text.find_last_not_of(L" \t\r\n\v\f");
  const std::wstring trimmed = text.substr(first, last - first + 1);
  const std::string digits = kvx::platform::Narrow(trimmed.substr(0, trimmed.find_first_not_of(kNumberCharacters)));
  // Read with "." whatever the process locale says: a host toolkit may switch the C library to a
  // decimal comma, and the conversion would then stop at the ".".
  double value = 0.0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

std::wstring NormaliseNumberText(const std::wstring& text) {
  std::istringstream in(kvx::platform::Narrow(text));
  in.imbue(std::locale::classic());
  double value = 0.0;
  if (!(in >> value) || !in.eof()) return text;
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out.precision(6);  // general notation: 2.50 -> 2.5, 1e-07 stays short
  out << value;
  return kvx::platform::Widen(out.str());
}

std::wstring JoinTexts(const std::vector<std::wstring>& texts) {
  std::wstring joined;
  for (const auto& text : texts) joined += NormaliseNumberText(text) + L";";
  return joined;
}

void SplitText(const std::wstring& text, const std::wstring& delimiters, std::vector<std::wstring>& out) {
  size_t pos = 0;
  while (true) {
    const size_t start = text.find_first_not_of(delimiters, pos);
    if (start == std::wstring::npos) return;  // the empty token that ends the walk
    const size_t end = text.find_first_of(delimiters, start);
    out.push_back(text.substr(start, end == std::wstring::npos ? std::wstring::npos : end - start));
    if (end == std::wstring::npos) return;
    pos = end;
  }
}

std::string WideToNarrow(const std::wstring& text) { return kvx::platform::Narrow(text); }

// --- Units and severities ----------------------------------------------------------------------

std::wstring LengthUnitText(int unitCode) { return UnitText(KVX_QUANTITY_LENGTH, unitCode); }

std::wstring AngleUnitText(int unitCode) { return UnitText(KVX_QUANTITY_ANGLE, unitCode); }

int SeverityNameToIndex(const std::wstring& text) {
  for (int i = 0; i < kSeverityNameCount; ++i) {
    if (text == LoadLocalizedString(kFirstSeverityName + i)) return i + 1;
  }
  return 0;
}

int SeverityIndexToCode(int index) { return index >= 1 && index <= kSeverityNameCount ? index - 1 : -1; }

std::vector<std::wstring> SeverityNames() {
  std::vector<std::wstring> names;
  for (int i = 0; i < kSeverityNameCount; ++i) names.push_back(LoadLocalizedString(kFirstSeverityName + i));
  return names;
}

std::wstring SeverityCodeToName(int code) {
  if (code < 0 || code >= kSeverityNameCount) return {};
  return LoadLocalizedString(kFirstSeverityName + code);
}

// --- Environment and system probes -------------------------------------------------------------

bool IsPriorityDevelopment() { return kvx::platform::EnvEquals("KORVEX_PRIORITY_DEV", "1"); }

bool IsAdministrator() {
  return kvx::platform::CanOpenSettingsKeyForWriting(kvx::platform::SettingsHive::LocalMachine, L"SOFTWARE");
}

bool IsFileWritable(const std::wstring& path) {
  if (path.empty()) return false;
  const auto result = kvx::platform::TryOpenExistingForWriting(path);
  return result != kvx::platform::ProbeError::AccessDenied && result != kvx::platform::ProbeError::SharingViolation;
}

bool IsDirectoryUsable(const std::wstring& path) {
  using kvx::platform::ProbeError;
  if (path.empty()) return false;
  if (!kvx::platform::DirectoryExists(path) && !kvx::platform::HasReadWriteAccess(kvx::platform::ParentPath(path))) {
    return false;
  }
  const ProbeError created = kvx::platform::CreateDirectories(path);
  if (created == ProbeError::AccessDenied) return false;
  if (created != ProbeError::AlreadyExists) return true;
  // The folder was there already: creating a scratch folder inside tells whether it takes writes.
  const std::wstring scratch = kvx::platform::JoinPath(path, L"Temp");
  const ProbeError test = kvx::platform::CreateOneDirectory(scratch);
  if (test == ProbeError::AccessDenied) return false;
  if (test == ProbeError::None) kvx::platform::RemoveEmptyDirectory(scratch);
  return true;
}

}  // namespace kvx::params
