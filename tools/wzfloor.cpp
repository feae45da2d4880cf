// wzfloor: the least any reader of this design can cost. It feeds every byte
// of a file twice through the file stream's one-byte Read operation, called
// through the StreamInterface like the plug-in calls it: once for the first
// pass and once more for the sheets, which are read again from recorded
// positions. Nothing is done with the bytes but counting line feeds, so the
// time is the stream's alone.
//
//   wzfloor FILE
#include <cstdio>
#include <memory>
#include <string>

#include "wzss/host/file_stream.h"

namespace {

constexpr int kPasses = 2;

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: wzfloor FILE\n");
    return 2;
  }
  std::string error;
  std::unique_ptr<wzss::host::FileStream> file = wzss::host::FileStream::open(argv[1], &error);
  if (!file) {
    std::fprintf(stderr, "wzfloor: %s: %s\n", argv[1], error.c_str());
    return 1;
  }
  StreamInterface* stream = file->get();
  uint64_t bytes = 0, lines = 0;
  for (int pass = 0; pass < kPasses; ++pass) {
    if (!stream->Open(stream) || !stream->Seek(stream, 0, 0)) {
      std::fprintf(stderr, "wzfloor: %s: cannot rewind\n", argv[1]);
      return 1;
    }
    char byte;
    while (stream->Read(stream, &byte, 1) == 1) {
      ++bytes;
      lines += byte == '\n';
    }
    if (stream->Close != nullptr) stream->Close(stream);
  }
  std::printf("bytes %llu\nlines %llu\n", static_cast<unsigned long long>(bytes),
              static_cast<unsigned long long>(lines));
  return 0;
}
