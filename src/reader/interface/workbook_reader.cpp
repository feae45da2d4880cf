// The workbook reader: created per file, described by the first pass (header
// check and prologue scan) with its sheet list cached, destroyed with every
// table it owns.
#include <cstring>
#include <string_view>

#include "interface/lifecycle.h"
#include "prologue/prologue.h"
#include "scan/scan.h"
#include "wzss/header_versions.h"

namespace wzss {

namespace {

// The header line is checked in three fixed-size reads: the keyword, the
// version digits with the four characters that follow them, and the
// encoding keyword. Later bytes belong to the prologue scan.
constexpr int32_t kVersionFieldSize = 7;   // three digits, then four bytes not examined
constexpr int32_t kEncodingFieldSize = 10;
constexpr std::string_view kEncodingKeyword = " ENCODING";  // the '=' is not compared

// Reads count bytes into a zeroed buffer of count + 1 bytes. The number of
// bytes delivered is not examined: a short read leaves zeros behind, which
// never compare equal to the expected text.
template <int32_t kCount>
struct HeaderField {
  char bytes[kCount + 1] = {};
  explicit HeaderField(StreamInterface* stream) { stream->Read(stream, bytes, kCount); }
};

bool checkHeaderKeyword(StreamInterface* stream) {
  const HeaderField<static_cast<int32_t>(kHeaderKeyword.size())> field(stream);
  return wzMatchKeyword(field.bytes, kHeaderKeyword);
}

bool checkVersion(WorkbookReader* reader) {
  const HeaderField<kVersionFieldSize> field(reader->stream);
  for (const HeaderVersion& version : kHeaderVersions) {
    if (wzMatchKeyword(field.bytes, version.digits)) {
      reader->version = version.code;
      return true;
    }
  }
  return false;
}

bool checkEncoding(StreamInterface* stream) {
  const HeaderField<kEncodingFieldSize> field(stream);
  return wzMatchKeyword(field.bytes, kEncodingKeyword);
}

bool checkHeader(WorkbookReader* reader) {
  return checkHeaderKeyword(reader->stream) && checkVersion(reader) &&
         checkEncoding(reader->stream);
}

// Header check and prologue scan over one Open/Close of the stream. A sheet
// list, even a partial one from a failed scan, is kept in the cache. A file
// refused before its prologue leaves the host's record as the host left it;
// the scan itself starts the record's list empty.
int32_t runFirstPass(WorkbookReader* reader, WorkbookInfo* info) {
  if (reader->stream == nullptr) return 0;
  // A pass after one that found no sheet would otherwise add to the tables
  // the earlier pass left behind.
  wzReleaseTables(reader);

  int32_t result = 0;
  if (streamOpen(reader->stream) != 0 && checkHeader(reader)) {
    result = wzProcessToData(reader, info);
    if (info->sheets != nullptr) std::memcpy(&reader->info, info, sizeof(WorkbookInfo));
  }
  streamClose(reader->stream);
  return result;
}

}  // namespace

WorkbookReader* wzCreateWorkbookReader(StreamInterface* stream, HostServices* services,
                                       uint32_t readerFlags) {
  if (services == nullptr) return nullptr;
  auto* reader =
      static_cast<WorkbookReader*>(hostCalloc(services, 1, sizeof(WorkbookReader)));
  if (reader == nullptr) return nullptr;
  reader->stream = stream;
  reader->services = services;
  reader->readerFlags = readerFlags;
  return reader;
}

int32_t wzDescribeWorkbook(WorkbookReader* reader, WorkbookInfo* info, int32_t query) {
  if (query != 0) return 1;
  if (reader == nullptr || info == nullptr) return 0;
  if (reader->info.sheets != nullptr) {
    std::memcpy(info, &reader->info, sizeof(WorkbookInfo));
    return 1;
  }
  // A further pass would free the tables the open sheet reads from.
  if (reader->openSheet != nullptr) return 0;
  return runFirstPass(reader, info);
}

void wzDestroyWorkbookReader(WorkbookReader* reader) {
  if (reader == nullptr || reader->services == nullptr) return;
  wzReleaseTables(reader);
  hostFree(reader->services, reader);
}

}  // namespace wzss
