// What the tests of HDR metadata share: the kinds' bytes, and calls by the kind's number.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/Fixtures.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace zelkcam::test {

using Payload = std::vector<uint8_t>;
using NSCam::GrallocMapperAidlV2::GRALLOC_STANDARD_METADATA_TYPE;
using NSCam::GrallocMapperAidlV2::MapperV5;

// Floats that do not survive a detour through arithmetic or through double: signalling NaNs with
// payloads, -0, denormals, infinities.
inline constexpr uint32_t kOddFloats[10] = {0x7F812345, 0x80000000, 0x00000001, 0x807FFFFF,
                                            0x7F800000, 0xFF800000, 0xFFFFFFFF, 0x3F800000,
                                            0x7FC00001, 0xFF800001};

// A literal with zeros in it, whole.
template <size_t N>
std::string literal(const char (&text)[N]) {
    return {text, N - 1};
}

inline std::string headerOf(char type) {
    return literal("\x35\0\0\0\0\0\0\0"
                   "android.hardware.graphics.common.StandardMetadataType") +
           type + literal("\0\0\0\0\0\0\0");
}

inline std::string text(const void* data, size_t size) {
    return {static_cast<const char*>(data), size};
}

inline std::string text(const Payload& bytes) {
    return text(bytes.data(), bytes.size());
}

inline Payload bytesOf(const std::string& value) {
    return {value.begin(), value.end()};
}

// `size` is at most 65535.
inline std::string encodedPayload(char type, size_t size, char fill) {
    return headerOf(type) + static_cast<char>(size & 0xFF) + static_cast<char>(size >> 8) +
           literal("\0\0\0\0\0\0") + std::string(size, fill);
}

class HdrTest : public ScriptedTest {
  protected:
    HdrTest() { forget(); }

    // By the kind's number.
    int set(int kind, const void* data, unsigned size) const {
        return mapper->setGrallocMeta(buffer, static_cast<GRALLOC_STANDARD_METADATA_TYPE>(kind),
                                      const_cast<void*>(data), size);
    }
    int get(int kind, void* data, unsigned size) const {
        return mapper->getGrallocMeta(buffer, static_cast<GRALLOC_STANDARD_METADATA_TYPE>(kind),
                                      data, size);
    }

    std::optional<MapperV5> mapper{scriptedAllocator()};
    // Nobody looks behind it.
    const native_handle* buffer = reinterpret_cast<const native_handle*>(0x77);
};

}  // namespace zelkcam::test
