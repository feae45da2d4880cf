// Cell styling and value formatting: the number format parser over the
// attribute texts of real cell lines, the value formatter per family of
// format codes, and the date and time arithmetic.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench_workbook.h"
#include "cells/cells.h"
#include "format/format.h"
#include "wzss/host/memory_stream.h"
#include "wzss/host/services.h"

namespace wzss::bench {
namespace {

std::unique_ptr<WorkbookReader> defaultReader() {
  auto reader = std::make_unique<WorkbookReader>();
  reader->defaultFormat = FRMT_GENERAL;
  reader->defaultDecimals = kFloatingDecimals;
  reader->defaultTextAlign = 130;
  reader->defaultValueAlign = 130;
  return reader;
}

// The attribute texts of the generated cell lines, each in a writable line
// buffer with the rest of its line (floating decimals read the value).
void ExtractNumFrmtCellLines(benchmark::State& state) {
  const auto& lines = benchWorkbook().cellLines;
  const size_t count = std::min<size_t>(lines.size(), 50000);
  std::vector<std::array<char, kLineSize>> buffers(count);
  for (size_t i = 0; i < count; ++i) {
    const std::string& line = lines[i];
    const size_t open = line.find('(');
    std::strncpy(buffers[i].data(), line.c_str() + (open == std::string::npos ? 0 : open),
                 kLineSize - 1);
    buffers[i][kLineSize - 1] = '\0';
  }
  auto reader = defaultReader();
  size_t next = 0;
  for (auto _ : state) {
    int32_t code = 0, decimals = 0, style = 0;
    wzExtractNumFrmt(reader.get(), buffers[next].data(), &code, &decimals, &style);
    benchmark::DoNotOptimize(code);
    benchmark::DoNotOptimize(decimals);
    if (++next == count) next = 0;
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(ExtractNumFrmtCellLines);

// A sheet reader for the value formatter: services for its result, and a
// stream whose next line ends a label (labels and strings read one line
// ahead and give it back).
struct FormatterSheet {
  host::Services services;
  host::MemoryStream stream{"(F2|) A!B2: 1\n"};
  std::unique_ptr<WorkbookReader> reader = defaultReader();
  std::unique_ptr<SheetReader> sheet = std::make_unique<SheetReader>();
  FormatterSheet() {
    sheet->reader = reader.get();
    sheet->stream = stream.get();
    sheet->services = services.get();
  }
};

struct FormatCase {
  uint32_t code;
  int32_t decimals;
  int32_t dateStyle;
  std::vector<const char*> values;
};

void runFormat(benchmark::State& state, const FormatCase& c) {
  FormatterSheet host;
  char value[kLineSize];
  size_t next = 0;
  for (auto _ : state) {
    std::strcpy(value, c.values[next]);
    if (++next == c.values.size()) next = 0;
    uint32_t length = 0;
    char* text =
        wzFormatCellValue(host.sheet.get(), value, c.code, c.decimals, c.dateStyle, &length);
    benchmark::DoNotOptimize(text);
    if (text == nullptr) {
      state.SkipWithError("wzFormatCellValue failed");
      break;
    }
    hostFree(host.services.get(), text);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}

const std::vector<const char*> kAmounts = {"1234.5", "-99.99", "1200", "987654.321", "0.07", "45"};

BENCHMARK_CAPTURE(runFormat, fixed_19, FormatCase{FRMT_FIXED, 2, 2, kAmounts});
BENCHMARK_CAPTURE(runFormat, comma_17, FormatCase{FRMT_COMMA, 2, 2, kAmounts});
BENCHMARK_CAPTURE(runFormat, currency_18, FormatCase{FRMT_CURRENCY, 2, 2, kAmounts});
BENCHMARK_CAPTURE(runFormat, general_25, FormatCase{FRMT_GENERAL, 3, 2, kAmounts});
BENCHMARK_CAPTURE(runFormat, general_exponent_25,
                  FormatCase{FRMT_GENERAL, 2, 2, {"1.5e3", "2.5e-4", "9.9e7"}});
BENCHMARK_CAPTURE(runFormat, percent_27, FormatCase{FRMT_PERCENT, 1, 2, {"0.256", "1.25", "0.003"}});
BENCHMARK_CAPTURE(runFormat, scientific_28,
                  FormatCase{FRMT_SCIENTIFIC, 3, 2, {"12346", "1.5E+03", "6.02E+23"}});
BENCHMARK_CAPTURE(runFormat, boolean_26, FormatCase{FRMT_BOOLEAN, 0, 2, {"0", "1", "0.5"}});
BENCHMARK_CAPTURE(runFormat, bar_24, FormatCase{FRMT_BAR, 0, 2, {"5.9", "12", "33.3"}});
BENCHMARK_CAPTURE(runFormat, date_style2_1, FormatCase{FRMT_DATE, 0, 2, {"37626", "45000", "12/25/1999"}});
BENCHMARK_CAPTURE(runFormat, date_style7_1, FormatCase{FRMT_DATE, 0, 7, {"37626", "45000", "12/25/1999"}});
BENCHMARK_CAPTURE(runFormat, date_style14_1, FormatCase{FRMT_DATE, 0, 14, {"37626", "45000"}});
BENCHMARK_CAPTURE(runFormat, time12_20, FormatCase{FRMT_TIME12_HMS, 0, 2, {"0.5416666", "0.999", "45123.25"}});
BENCHMARK_CAPTURE(runFormat, time24_23, FormatCase{FRMT_TIME24_HM, 0, 2, {"0.5416666", "0.999", "45123.25"}});
BENCHMARK_CAPTURE(runFormat, label_0,
                  FormatCase{FRMT_LABEL, 0, 2, {"Budget 2026", "north^ca region", "tax refund"}});
BENCHMARK_CAPTURE(runFormat, string_29,
                  FormatCase{FRMT_STRING, 0, 2, {"\"quoted ^ca string\"", "\"supplier paid\""}});

void GetDateFromSerial(benchmark::State& state) {
  double serial = 32874;
  char text[] = "45000";
  for (auto _ : state) {
    int16_t year = 0, month = 0, day = 0;
    wzGetDate(text, serial, &year, &month, &day);
    benchmark::DoNotOptimize(year);
    benchmark::DoNotOptimize(day);
    serial = serial >= 47483 ? 32874 : serial + 1;
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(GetDateFromSerial);

void GetTimeFromFraction(benchmark::State& state) {
  double value = 0.0;
  for (auto _ : state) {
    int16_t hour = 0, minute = 0, second = 0;
    wzGetTime(value, &hour, &minute, &second);
    benchmark::DoNotOptimize(hour);
    benchmark::DoNotOptimize(second);
    value = value >= 0.999 ? 0.0 : value + 0.0001337;
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(GetTimeFromFraction);

}  // namespace
}  // namespace wzss::bench
