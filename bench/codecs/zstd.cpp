#include <zstd.h>

#include <cstdlib>

#include "bench/codecs/depth_codecs.h"

namespace depth_io::bench {
namespace {

constexpr int kLevel = 1;

std::size_t checked(std::size_t result) {
  if (ZSTD_isError(result) != 0) std::abort();
  return result;
}

}  // namespace

struct Zstd::Contexts {
  ZSTD_CCtx* compression = ZSTD_createCCtx();
  ZSTD_DCtx* decompression = ZSTD_createDCtx();
  ~Contexts() {
    ZSTD_freeCCtx(compression);
    ZSTD_freeDCtx(decompression);
  }
};

Zstd::Zstd() : contexts_(std::make_unique<Contexts>()) {}
Zstd::~Zstd() = default;

std::size_t Zstd::encode(const Samples& samples, Buffer& buffer) {
  const std::size_t size = samples.size() * sizeof(std::uint16_t);
  buffer.resize(ZSTD_compressBound(size));
  return checked(ZSTD_compressCCtx(contexts_->compression, buffer.data(), buffer.size(),
                                   samples.data(), size, kLevel));
}

void Zstd::decode(Bytes code, Samples& samples) {
  checked(ZSTD_decompressDCtx(contexts_->decompression, samples.data(),
                              samples.size() * sizeof(std::uint16_t), code.data(), code.size()));
}

}  // namespace depth_io::bench
