// A sheet reader built by hand for the value formatter (through the cell
// layer, which reads the continuation lines): zeroed, with only
// the stream and the services set, over a memory stream that holds the
// lines after the cell line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cells/cells.h"
#include "wzss/host/memory_stream.h"
#include "wzss/host/services.h"

namespace wzss::test {

struct FormatBench {
  explicit FormatBench(std::string following = "") : stream(std::move(following)) {
    sheet.stream = stream.get();
    sheet.services = services.get();
  }

  // wzFormatCellValue on a writable copy of value; the display text, or nullopt
  // for a null result. The block is released here.
  std::optional<std::string> format(const std::string& value, uint32_t code,
                                    int32_t decimals = 0, int32_t dateStyle = 2) {
    valueBuffer.assign(value.begin(), value.end());
    valueBuffer.push_back('\0');
    uint32_t length = 0;
    char* text = wzFormatCellValue(&sheet, valueBuffer.data(), code, decimals, dateStyle, &length);
    if (text == nullptr) return std::nullopt;
    std::string display = text;
    services.free(text);
    return display;
  }


  uint64_t liveBlocks() const { return services.stats().liveBlocks; }

  host::Services services;
  host::MemoryStream stream;
  SheetReader sheet{};
  std::vector<char> valueBuffer;
};

}  // namespace wzss::test
