#pragma once
// Small value, unit and text utilities shared by the rules, the rule record and the dialogs.
// None of them reports an error: each returns its documented fallback.
#include <string>
#include <vector>

namespace kvx::params {

// --- Operators -------------------------------------------------------------------------------
// The word of an operator code (1 "RANGE", 3 "=", 5 "<", 6 ">", 7 ">=", 8 "<="); empty for any other code.
std::wstring OperatorToText(int op);
// The code of an operator word, ignoring case; 0 when the text is no operator word.
int TextToOperator(const std::wstring& text);

// --- Numbers ---------------------------------------------------------------------------------
// Rounds `x` to `decimals` places with the cut at six tenths of the last digit, plus 1e-10.
double RoundTo(double x, int decimals);
// "%lf" without trailing zeros, with one "0" put back after a trailing decimal separator (3 -> "3.0").
std::wstring DoubleToShortText(double value);
// Removes trailing "0" characters in place (also from texts without a separator: "100" -> "1"), then puts
// one "0" back after a trailing decimal separator.
void TrimNumberText(std::wstring& text);
// True when every character is one of ".0123456789" (the empty text included).
bool IsNumeric(const std::wstring& text);
// The number in the leading span of ".0123456789" after trimming white space; 0.0 when there is none.
double ToDouble(const std::wstring& text);
// The text read as a number and written back with precision 6 when the whole text is a number;
// otherwise the text as it stands.
std::wstring NormaliseNumberText(const std::wstring& text);
// Each text normalised and followed by ";" ("1", "2.50" -> "1;2.5;"); empty for an empty list.
std::wstring JoinTexts(const std::vector<std::wstring>& texts);
// Cuts `text` at any of `delimiters`, appending the tokens to `out`; the first empty token ends the walk.
void SplitText(const std::wstring& text, const std::wstring& delimiters, std::vector<std::wstring>& out);
// The text in the system's narrow encoding (UTF-8 here).
std::string WideToNarrow(const std::wstring& text);

// --- Units and severities (texts come from the module's localized resource library) -----------
// Display text of a length unit code (0 mm ... 10 microinch); empty for 5 (ft-in) and unknown codes.
std::wstring LengthUnitText(int unitCode);
// Display text of an angle unit code (0 degree, 1 radian, 2 degree-minute, 3 degree-minute-second); empty otherwise.
std::wstring AngleUnitText(int unitCode);
// 1 to 5 for the first of the severity names (strings 2014 to 2018) that equals `text` with case; 0 for none.
int SeverityNameToIndex(const std::wstring& text);
// Severity code of an index from SeverityNameToIndex: 1..5 -> 0..4; -1 for anything else.
int SeverityIndexToCode(int index);
// The severity names in code order (0 to 4), as a combo box lists them.
std::vector<std::wstring> SeverityNames();
// The severity name of a severity code (0 to 4); empty for another code.
std::wstring SeverityCodeToName(int code);

// --- Environment and system probes -------------------------------------------------------------
// True only when KORVEX_PRIORITY_DEV exists and is exactly "1".
bool IsPriorityDevelopment();
// True when the machine-wide settings "SOFTWARE" key could be opened with full access.
bool IsAdministrator();
// False for an empty path or a file that exists but cannot be opened for writing; true otherwise.
bool IsFileWritable(const std::wstring& path);
// False for an empty path, an unusable parent or a directory that cannot be created or written into.
bool IsDirectoryUsable(const std::wstring& path);

}  // namespace kvx::params
