#include "virtual/wav.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const auto wav = qvx::bench::WavFile::parse({data, size});
    wav.at(wav.frames() * 2 + 1, wav.channels() + 1);
  } catch (const qvx::bench::WavError&) {
  }
  return 0;
}
