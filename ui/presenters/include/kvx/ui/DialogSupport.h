#pragma once
// What the module's dialog presenters share: the file dialog they ask for a file, and the severity combo
// box's contents (the severity names of the module's resource library, in code order).
#include <optional>
#include <string>
#include <vector>

class CKvxRule;

namespace kvx::ui {

// The caption of the dialogs' message boxes.
inline constexpr wchar_t kMessageCaption[] = L"Korvex";

// The open-file dialog, as the presenters use it.
class IFileDialog {
 public:
  // Open-file options: the file must exist (0x1000), read-only files are not offered apart (0x4).
  static constexpr unsigned kFileMustExist = 0x1000;
  static constexpr unsigned kHideReadOnly = 0x4;

  virtual ~IFileDialog();
  // Asks for a file to open; `filter` is in the "Text (*.a;*.b)|*.a; *.b|" form. Nothing when cancelled.
  virtual std::optional<std::wstring> AskOpenFile(const std::wstring& filter, unsigned options) = 0;
};

// The severity names in code order (0 to 4) from the module's localized library.
std::vector<std::wstring> SeverityChoices();
// The combo box index that shows `severity`; -1 when the code has no name.
int SeverityIndexOf(int severity);
// The severity code of the name at `index` of SeverityChoices(); -1 when nothing (or no name) is there.
int SeverityOfIndex(const std::vector<std::wstring>& names, int index);
// Accepting a dialog: the chosen severity becomes the rule's; with nothing chosen the rule keeps its own.
// Returns the index the combo box should show afterwards.
int ApplySeverityChoice(CKvxRule& rule, const std::vector<std::wstring>& names, int selected);
// `text` with the user's decimal `separator` written as the point the rules read, unless it has a point
// already: typed "1,5" in German is 1.5, never 15 or 1.
std::wstring WithDecimalPoint(const std::wstring& text, const std::wstring& separator);

}  // namespace kvx::ui
