#include "BiffSheet.h"

#include <algorithm>
#include <bit>
#include <map>
#include <optional>
#include <string>

#include "kvx/spreadsheet/NumberFormats.h"
#include "kvx/spreadsheet/RequestedCells.h"

namespace kvx::params::detail {

namespace {

using kvx::sheet::CellRead;
using kvx::sheet::CellType;
using kvx::sheet::CellValue;

// The limits of an .xls sheet: column IV, row 65536.
constexpr std::int32_t kMaxColumn = 256;
constexpr std::int32_t kMaxRow = 65536;

constexpr std::uint16_t kBiff8Version = 0x0600;
constexpr std::uint16_t kWorkbookGlobals = 0x0005;

// The record types the reader looks at; every other record is stepped over.
enum RecordType : std::uint16_t {
  kBof = 0x0809,
  kEof = 0x000A,
  kFilePass = 0x002F,  // the workbook is encrypted
  kBoundSheet = 0x0085,
  kWindow1 = 0x003D,
  kSharedStrings = 0x00FC,
  kContinue = 0x003C,
  kFormat = 0x041E,
  kCellFormat = 0x00E0,
  kNumber = 0x0203,
  kRk = 0x027E,
  kMulRk = 0x00BD,
  kLabel = 0x0204,
  kRichLabel = 0x00D6,
  kLabelSst = 0x00FD,
  kBoolErr = 0x0205,
  kFormula = 0x0006,
  kFormulaString = 0x0207,
};

// Record data that may go on in CONTINUE records, read as little-endian values. Reading past the last
// piece fails the cursor and gives zeros, so callers check ok() once after a group of reads.
class Cursor {
 public:
  explicit Cursor(std::vector<std::string_view> pieces) : pieces_(std::move(pieces)) {}
  explicit Cursor(std::string_view data) : pieces_{data} {}

  std::uint8_t U8() { return static_cast<std::uint8_t>(Take(1)); }
  std::uint16_t U16() { return static_cast<std::uint16_t>(Take(2)); }
  std::uint32_t U32() { return static_cast<std::uint32_t>(Take(4)); }
  std::uint64_t U64() { return Take(8); }

  void Skip(std::uint64_t count) {
    while (ok_ && count > 0) {
      if (!EnsureByte()) return;
      const std::uint64_t step = std::min<std::uint64_t>(count, pieces_[piece_].size() - at_);
      at_ += static_cast<std::size_t>(step);
      count -= step;
    }
  }

  // Bytes left in the current piece and those after it.
  std::size_t Left() const {
    if (!ok_ || piece_ >= pieces_.size()) return 0;
    std::size_t left = pieces_[piece_].size() - at_;
    for (std::size_t next = piece_ + 1; next < pieces_.size(); ++next) left += pieces_[next].size();
    return left;
  }

  // `count` characters, one byte (the low half of UTF-16) or two each as `wide` says. Where the characters
  // run on into the next piece, that piece starts with a flags byte that says so again.
  void Characters(std::size_t count, bool wide, std::u16string& units) {
    units.clear();
    while (ok_ && units.size() < count) {
      if (piece_ < pieces_.size() && at_ == pieces_[piece_].size()) {
        if (!NextPiece()) return;
        wide = (U8() & 0x01) != 0;
        continue;
      }
      if (piece_ >= pieces_.size()) return Fail();
      const std::string_view piece = pieces_[piece_];
      const std::size_t width = wide ? 2 : 1;
      const std::size_t fitting = std::min(count - units.size(), (piece.size() - at_) / width);
      if (fitting == 0) return Fail();  // half a character at the end of a piece
      for (std::size_t i = 0; i < fitting; ++i, at_ += width) {
        const auto low = static_cast<unsigned char>(piece[at_]);
        const auto high = wide ? static_cast<unsigned char>(piece[at_ + 1]) : 0u;
        units.push_back(static_cast<char16_t>(low | high << 8));
      }
    }
  }

  bool ok() const { return ok_; }

 private:
  void Fail() { ok_ = false; }

  bool NextPiece() {
    if (piece_ + 1 >= pieces_.size()) {
      Fail();
      return false;
    }
    ++piece_;
    at_ = 0;
    return true;
  }

  // True when a byte is there to read, stepping into the next piece (without a flags byte) when needed.
  bool EnsureByte() {
    while (ok_ && piece_ < pieces_.size() && at_ == pieces_[piece_].size())
      if (!NextPiece()) return false;
    if (piece_ >= pieces_.size()) Fail();
    return ok_;
  }

  std::uint64_t Take(std::size_t bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
      if (!EnsureByte()) return 0;
      value |= std::uint64_t{static_cast<unsigned char>(pieces_[piece_][at_++])} << (8 * i);
    }
    return value;
  }

  std::vector<std::string_view> pieces_;
  std::size_t piece_ = 0;
  std::size_t at_ = 0;
  bool ok_ = true;
};

std::wstring FromUtf16(const std::u16string& units) {
  std::wstring text;
  text.reserve(units.size());
  for (std::size_t i = 0; i < units.size(); ++i) {
    char32_t c = units[i];
    const bool lead = c >= 0xD800 && c <= 0xDBFF;
    if (lead && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00);
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = 0xFFFD;  // half a pair: the replacement character, as a text editor shows it
    }
    text.push_back(static_cast<wchar_t>(c));
  }
  return text;
}

// A string with a 16-bit character count and a flags byte, the form of cell texts and formula results.
std::optional<std::wstring> ReadString(Cursor& in) {
  const std::uint16_t count = in.U16();
  const std::uint8_t flags = in.U8();
  std::u16string units;
  in.Characters(count, (flags & 0x01) != 0, units);
  if (!in.ok()) return std::nullopt;
  return FromUtf16(units);
}

// A shared string: as ReadString, with optional formatting runs and phonetic data after the characters,
// which are not part of the value.
std::optional<std::wstring> ReadSharedString(Cursor& in) {
  const std::uint16_t count = in.U16();
  const std::uint8_t flags = in.U8();
  const std::uint16_t runs = (flags & 0x08) != 0 ? in.U16() : 0;
  const std::uint32_t phoneticBytes = (flags & 0x04) != 0 ? in.U32() : 0;
  std::u16string units;
  in.Characters(count, (flags & 0x01) != 0, units);
  in.Skip(std::uint64_t{4} * runs);
  in.Skip(phoneticBytes);
  if (!in.ok()) return std::nullopt;
  return FromUtf16(units);
}

// A 30-bit number in four bytes: an integer or the high bits of a double, optionally hundredths.
double RkNumber(std::uint32_t rk) {
  const double number = (rk & 0x02) != 0 ? static_cast<double>(static_cast<std::int32_t>(rk) >> 2)
                                         : std::bit_cast<double>(std::uint64_t{rk & 0xFFFFFFFCu} << 32);
  return (rk & 0x01) != 0 ? number / 100 : number;
}

struct Record {
  std::uint16_t type = 0;
  std::string_view data;
};

// The records of the workbook stream from an offset on. A record that claims more bytes than are left
// ends the walk as damaged.
class Records {
 public:
  Records(std::string_view stream, std::size_t offset) : stream_(stream), at_(offset) {}

  bool Next(Record& record) {
    if (at_ > stream_.size() || stream_.size() - at_ < 4) return false;
    Cursor header(stream_.substr(at_, 4));
    record.type = header.U16();
    const std::uint16_t length = header.U16();
    if (stream_.size() - at_ - 4 < length) return false;
    record.data = stream_.substr(at_ + 4, length);
    at_ += 4 + std::size_t{length};
    return true;
  }

  // The data of `first` and of the CONTINUE records right after it, which are taken from the walk.
  std::vector<std::string_view> WithContinuations(std::string_view first) {
    std::vector<std::string_view> pieces{first};
    Records ahead = *this;
    Record next;
    while (ahead.Next(next) && next.type == kContinue) {
      pieces.push_back(next.data);
      *this = ahead;
    }
    return pieces;
  }

 private:
  std::string_view stream_;
  std::size_t at_;
};

// What the workbook part of the stream says about its sheets and cells.
struct Globals {
  std::vector<std::uint32_t> sheetOffsets;  // where each sheet's records start, in tab order
  std::optional<std::uint16_t> activeTab;
  std::vector<std::wstring> sharedStrings;
  std::vector<std::uint16_t> formatOfCellFormat;  // number format of each cell format
  std::map<std::uint16_t, bool> customFormatIsDate;

  bool IsDate(std::uint16_t cellFormat) const {
    if (cellFormat >= formatOfCellFormat.size()) return false;
    const std::uint16_t format = formatOfCellFormat[cellFormat];
    if (kvx::sheet::IsBuiltInDateFormat(format)) return true;
    const auto custom = customFormatIsDate.find(format);
    return custom != customFormatIsDate.end() && custom->second;
  }
};

bool ReadSharedStrings(const std::vector<std::string_view>& pieces, std::vector<std::wstring>& strings) {
  Cursor in(pieces);
  in.U32();  // the number of uses, not needed
  const std::uint32_t count = in.U32();
  if (!in.ok()) return false;
  // Each string takes three bytes at least: the declared count is believed only that far.
  strings.reserve(std::min<std::size_t>(count, in.Left() / 3));
  for (std::uint32_t i = 0; i < count; ++i) {
    auto text = ReadSharedString(in);
    if (!text) return false;
    strings.push_back(std::move(*text));
  }
  return true;
}

void ReadNumberFormat(std::string_view data, Globals& globals) {
  Cursor in(data);
  const std::uint16_t id = in.U16();
  const auto code = ReadString(in);
  if (!code) return;
  // Date codes are told by ASCII letters alone.
  std::string ascii;
  for (const wchar_t c : *code) ascii.push_back(c < 0x80 ? static_cast<char>(c) : '?');
  globals.customFormatIsDate[id] = kvx::sheet::IsDateFormatCode(ascii);
}

// Reads the workbook part at the start of the stream, up to its EOF. False when the stream does not start
// as a BIFF8 workbook, is encrypted, or breaks off.
bool ReadGlobals(std::string_view stream, Globals& globals) {
  Records records(stream, 0);
  Record record;
  if (!records.Next(record) || record.type != kBof) return false;
  Cursor bof(record.data);
  const std::uint16_t version = bof.U16();
  const std::uint16_t kind = bof.U16();
  if (!bof.ok() || version != kBiff8Version || kind != kWorkbookGlobals) return false;
  while (records.Next(record)) {
    Cursor in(record.data);
    switch (record.type) {
      case kEof: return true;
      case kFilePass: return false;
      case kBoundSheet:
        globals.sheetOffsets.push_back(in.U32());
        if (!in.ok()) return false;
        break;
      case kWindow1:
        if (globals.activeTab) break;  // the first window is the one the workbook opens in
        in.Skip(10);
        if (const std::uint16_t tab = in.U16(); in.ok()) globals.activeTab = tab;
        break;
      case kSharedStrings:
        if (!ReadSharedStrings(records.WithContinuations(record.data), globals.sharedStrings)) return false;
        break;
      case kFormat: ReadNumberFormat(record.data, globals); break;
      case kCellFormat:
        in.Skip(2);
        globals.formatOfCellFormat.push_back(in.U16());
        break;
      default: break;
    }
  }
  return false;
}

}  // namespace

// The values of the requested columns only, taken out of the sheet's records while they are walked.
struct BiffSheet::Impl {
  explicit Impl(const std::vector<ColumnRequest>& requests) : cells(requests, kMaxColumn, kMaxRow) {}

  kvx::sheet::RequestedCells cells;  // the shared strings' texts first, then those of single cells
  std::size_t sharedCount = 0;

  // Cell positions as the records give them, from 0.
  bool Wanted(std::uint16_t column) const { return cells.Wanted(column + 1); }
  void Add(std::uint16_t row, std::uint16_t column, CellType type, double number = 0.0, std::uint32_t text = 0) {
    cells.Add(column + 1, row + 1, type, number, text);
  }
  void AddText(std::uint16_t row, std::uint16_t column, std::wstring text) {
    if (Wanted(column)) Add(row, column, CellType::Text, 0.0, cells.AddText(std::move(text)));
  }
  void AddNumber(std::uint16_t row, std::uint16_t column, std::uint16_t format, double number, const Globals& globals) {
    Add(row, column, globals.IsDate(format) ? CellType::Date : CellType::Double, number);
  }

  // A LABEL record's text, after its row, column and format.
  void AddLabel(std::vector<std::string_view> pieces, std::uint16_t row, std::uint16_t column) {
    pieces.front().remove_prefix(6);
    Cursor text(std::move(pieces));
    if (auto value = ReadString(text)) AddText(row, column, std::move(*value));
  }
  // A cell holding shared text `index`; one the table does not hold is an error value to the sheet.
  void AddSharedText(std::uint32_t index, std::uint16_t row, std::uint16_t column) {
    if (index >= sharedCount) return Add(row, column, CellType::Error);
    Add(row, column, CellType::Text, 0.0, index + 1);
  }
  // A MULRK record: row, first column, then a cell format and a number per cell, then the last column.
  void AddMulRk(std::string_view data, std::uint16_t row, std::uint16_t column, const Globals& globals) {
    Cursor cells(data.substr(4));
    const std::size_t count = (data.size() - 6) / 6;
    for (std::size_t i = 0; i < count && column + i < kMaxColumn; ++i) {
      const std::uint16_t cellFormat = cells.U16();
      const std::uint32_t rk = cells.U32();
      AddNumber(row, static_cast<std::uint16_t>(column + i), cellFormat, RkNumber(rk), globals);
    }
  }
  // A formula's cached result: a double, or a marker in the top two bytes and its kind in the first. True
  // when the result is a text, which comes in the record that follows.
  bool AddFormulaResult(std::uint64_t result, std::uint16_t row, std::uint16_t column, std::uint16_t format,
                        const Globals& globals) {
    if ((result >> 48) != 0xFFFF) {
      AddNumber(row, column, format, std::bit_cast<double>(result), globals);
      return false;
    }
    switch (result & 0xFF) {
      case 0: return true;
      case 1: Add(row, column, CellType::Bool, ((result >> 16) & 0xFF) != 0 ? 1.0 : 0.0); break;
      case 3: AddText(row, column, std::wstring()); break;
      default: Add(row, column, CellType::Error); break;
    }
    return false;
  }

  bool ReadSheet(std::string_view stream, std::uint32_t offset, const Globals& globals);
};

// Walks the sheet's records from its BOF to its EOF; the records of charts and other parts nested inside
// it (each within its own BOF and EOF) are stepped over. False when the sheet breaks off.
bool BiffSheet::Impl::ReadSheet(std::string_view stream, std::uint32_t offset, const Globals& globals) {
  Records records(stream, offset);
  Record record;
  if (!records.Next(record) || record.type != kBof) return false;
  std::size_t depth = 1;
  // A formula whose text result follows in the next record: its row and column.
  std::optional<std::pair<std::uint16_t, std::uint16_t>> pendingText;
  while (records.Next(record)) {
    if (record.type == kBof) ++depth;
    if (record.type == kEof && --depth == 0) return true;
    if (depth != 1) continue;
    if (record.type == kFormulaString) {
      Cursor in(records.WithContinuations(record.data));
      auto text = ReadString(in);
      if (pendingText && text) AddText(pendingText->first, pendingText->second, std::move(*text));
      pendingText.reset();
      continue;
    }
    Cursor in(record.data);
    const std::uint16_t row = in.U16();
    const std::uint16_t column = in.U16();
    const std::uint16_t format = in.U16();
    if (!in.ok()) continue;  // not a cell record, or one too short to be read
    switch (record.type) {
      case kNumber: {
        const double number = std::bit_cast<double>(in.U64());
        if (in.ok()) AddNumber(row, column, format, number, globals);
        break;
      }
      case kRk:
        if (const std::uint32_t rk = in.U32(); in.ok()) AddNumber(row, column, format, RkNumber(rk), globals);
        break;
      case kMulRk: AddMulRk(record.data, row, column, globals); break;
      case kLabel:
      case kRichLabel:
        if (Wanted(column)) AddLabel(records.WithContinuations(record.data), row, column);
        break;
      case kLabelSst:
        if (const std::uint32_t index = in.U32(); in.ok()) AddSharedText(index, row, column);
        break;
      case kBoolErr: {
        const std::uint8_t value = in.U8();
        const std::uint8_t isError = in.U8();
        if (in.ok()) Add(row, column, isError ? CellType::Error : CellType::Bool, value != 0 ? 1.0 : 0.0);
        break;
      }
      case kFormula:
        if (const std::uint64_t result = in.U64(); in.ok()) {
          pendingText.reset();
          if (AddFormulaResult(result, row, column, format, globals)) pendingText.emplace(row, column);
        }
        break;
      default: break;
    }
  }
  return false;
}

BiffSheet::BiffSheet(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
BiffSheet::~BiffSheet() = default;

std::unique_ptr<BiffSheet> BiffSheet::Parse(std::string_view stream, const std::vector<ColumnRequest>& requests) {
  Globals globals;
  if (!ReadGlobals(stream, globals) || globals.sheetOffsets.empty()) return nullptr;
  auto impl = std::make_unique<Impl>(requests);
  impl->sharedCount = globals.sharedStrings.size();
  for (std::wstring& text : globals.sharedStrings) impl->cells.AddText(std::move(text));
  const std::uint16_t tab = globals.activeTab.value_or(0);
  const std::uint32_t offset = globals.sheetOffsets[tab < globals.sheetOffsets.size() ? tab : 0];
  if (!impl->ReadSheet(stream, offset, globals)) return nullptr;
  impl->cells.SortByRow();
  return std::unique_ptr<BiffSheet>(new BiffSheet(std::move(impl)));
}

CellRead BiffSheet::Read(const std::wstring& letter, std::int32_t row, CellValue& value) {
  return impl_->cells.Read(letter, row, value);
}

}  // namespace kvx::params::detail
