#pragma once
// Which number formats show a cell's number as a date or time. Both spreadsheet roads need it: such cells
// are dates to the sheet, not numbers, and read as the empty text.
#include <string_view>

namespace kvx::sheet {

// Formats 14 to 22, 27 to 36, 45 to 47 and 50 to 58 are the built-in dates and times.
bool IsBuiltInDateFormat(unsigned id);

// A format code shows a date or time when it uses a day, month, year, hour or second outside quoted
// texts, escaped characters, padding and fill characters, and bracketed colours and locales (elapsed
// times such as "[h]" count).
bool IsDateFormatCode(std::string_view code);

}  // namespace kvx::sheet
