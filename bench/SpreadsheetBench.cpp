// Reading four columns of big tolerance tables through the module's reader, beside the floors of
// SheetFloors.h measured in the same run. The sample files are written at run time by the same
// independent writers the tests use, once, into the build folder.
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "SheetFloors.h"
#include "kvx/params/Spreadsheet.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Text.h"

namespace fs = std::filesystem;

namespace {

// Measured as the reader's figures in docs/performance.md: time per read here; whole-process time and
// peak memory with run-sheet-processes.sh.

// The sample of `rows` rows under a header, written by the generator on first use.
std::string Sample(long rows, const char* extension) {
  const fs::path path = fs::path(KVX_BENCH_DATA_DIR) / ("table-" + std::to_string(rows) + extension);
  if (fs::exists(path)) return path.string();
  fs::create_directories(path.parent_path());
  const fs::path partial = path.string() + ".partial" + extension;
  const std::string command = "/usr/bin/python3 " KVX_SOURCE_DIR "/tests/spreadsheet/data/make_samples.py big " +
                              std::to_string(rows) + " '" + partial.string() + "'";
  if (std::system(command.c_str()) != 0) return {};
  fs::rename(partial, path);
  return path.string();
}

std::size_t ReadFourColumns(const std::string& path) {
  static const std::vector<kvx::params::ColumnRequest> kColumns{{L"A", 0}, {L"B", 0}, {L"C", 0}, {L"D", 0}};
  kvx::params::SpreadsheetTable table;
  std::wstring error;
  if (!kvx::params::ReadSpreadsheet(kvx::platform::Widen(path), kColumns, table, error)) return 0;
  std::size_t texts = 0;
  for (const auto& column : table) texts += column.size();
  return texts;
}

// The bytes the texts of a read take: each text object and its characters.
double TextBytes(const std::string& path) {
  static const std::vector<kvx::params::ColumnRequest> kColumns{{L"A", 0}, {L"B", 0}, {L"C", 0}, {L"D", 0}};
  kvx::params::SpreadsheetTable table;
  std::wstring error;
  kvx::params::ReadSpreadsheet(kvx::platform::Widen(path), kColumns, table, error);
  double bytes = 0;
  for (const auto& column : table) {
    bytes += column.capacity() * sizeof(std::wstring);
    for (const auto& text : column)
      if (text.capacity() > 3) bytes += (text.capacity() + 1) * sizeof(wchar_t);
  }
  return bytes;
}

void Report(benchmark::State& state, std::size_t items) {
  state.SetItemsProcessed(static_cast<std::int64_t>(items) * state.iterations());
}

// The size of the sheet's XML once inflated.
double InflatedSheetBytes(const std::string& path) {
  int code = 0;
  zip_t* archive = zip_open(path.c_str(), ZIP_RDONLY, &code);
  zip_stat_t stat;
  const bool found = archive && zip_stat(archive, "xl/worksheets/sheet1.xml", 0, &stat) == 0;
  if (archive) zip_discard(archive);
  return found ? static_cast<double>(stat.size) : 0.0;
}

void BM_XlsxReader(benchmark::State& state) {
  const std::string path = Sample(state.range(0), ".xlsx");
  std::size_t texts = 0;
  for (auto _ : state) benchmark::DoNotOptimize(texts = ReadFourColumns(path));
  if (texts != 4 * static_cast<std::size_t>(state.range(0) + 1)) state.SkipWithError("unexpected table");
  Report(state, texts);
  state.counters["texts_MB"] = TextBytes(path) / 1e6;
}

void BM_XlsxFloor(benchmark::State& state) {
  const std::string path = Sample(state.range(0), ".xlsx");
  std::size_t cells = 0;
  for (auto _ : state) benchmark::DoNotOptimize(cells = kvx::bench::XlsxFloor(path));
  if (cells != 4 * static_cast<std::size_t>(state.range(0) + 1)) state.SkipWithError("unexpected sheet");
  Report(state, cells);
  state.counters["sheet_MB"] = InflatedSheetBytes(path) / 1e6;
}

void BM_XlsReader(benchmark::State& state) {
  const std::string path = Sample(state.range(0), ".xls");
  std::size_t texts = 0;
  for (auto _ : state) benchmark::DoNotOptimize(texts = ReadFourColumns(path));
  if (texts != 4 * static_cast<std::size_t>(state.range(0) + 1)) state.SkipWithError("unexpected table");
  Report(state, texts);
  state.counters["texts_MB"] = TextBytes(path) / 1e6;
}

void BM_XlsFloor(benchmark::State& state) {
  const std::string path = Sample(state.range(0), ".xls");
  std::size_t cells = 0;
  for (auto _ : state) benchmark::DoNotOptimize(cells = kvx::bench::XlsFloor(path));
  if (cells != 4 * static_cast<std::size_t>(state.range(0) + 1)) state.SkipWithError("unexpected sheet");
  Report(state, cells);
}

// The first number-to-text conversion alone, for as many values as the largest .xlsx table holds.
void BM_NumberTexts(benchmark::State& state) {
  for (auto _ : state) {
    for (int i = 0; i < 400000; ++i) benchmark::DoNotOptimize(kvx::params::DoubleToShortText(i * 0.5 + 0.25));
  }
  state.SetItemsProcessed(400000 * state.iterations());
}

}  // namespace

BENCHMARK(BM_XlsxFloor)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XlsxReader)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XlsFloor)->Arg(1000)->Arg(10000)->Arg(60000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XlsReader)->Arg(1000)->Arg(10000)->Arg(60000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NumberTexts)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
