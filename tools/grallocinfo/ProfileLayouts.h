// What a profile answers to the requests that camera code makes.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "profile/Evaluate.h"
#include "tools/grallocinfo/Geometry.h"

namespace grallocinfo {

struct CommonUsage {
    uint64_t bits;
    const char* words;
};

// What camera code asks for.
inline constexpr std::array<CommonUsage, 12> kCommonUsages{{
        {0, "none"},
        {0x3, "CPU read"},
        {0x33, "CPU read and write"},
        {0x20000, "camera write"},
        {0x20003, "camera write, CPU read"},
        {0x60000, "camera read and write"},
        {0x10000, "encoder"},
        {0x30000, "encoder, camera write"},
        {0x10003, "encoder, CPU read"},
        {0x100, "texture"},
        {0x800, "composer"},
        {0x4000, "protected"},
}};

inline constexpr std::array<std::pair<uint32_t, uint32_t>, 7> kCommonSizes{{{640, 480},
                                                                            {1280, 720},
                                                                            {1440, 1080},
                                                                            {1920, 1080},
                                                                            {3840, 2160},
                                                                            {4000, 3000},
                                                                            {4080, 3072}}};

// One answer, and the common usages that get it, whatever their locks; `reply` points into the
// device.
struct ProfileLayout {
    int32_t format = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<size_t> usages;  // indices into kCommonUsages
    zelkcam::profile::Reply reply;
    std::vector<zelkcam::profile::Certainty> certainties;  // of each usage
};

// The different answers to the common usages, in the order of the first of each.
std::vector<ProfileLayout> layoutsOf(const zelkcam::profile::Device& device, int32_t format,
                                     uint32_t width, uint32_t height);

// Every format that has a name, and those that one of the devices has rules for; ascending.
std::vector<int32_t> formatsOf(const std::vector<const zelkcam::profile::Device*>& devices);

// Where the planes of a granted request lie. Planes that lie in each other, as the chroma planes of
// some mappers do, count as one.
BufferGeometry geometryOf(const ProfileLayout& layout);

// "all", "all but protected" or "CPU read, camera write".
std::string usageWords(const ProfileLayout& layout);
// "recorded", "by rule", "guess"; several where usages differ in it.
std::string certaintyWords(const ProfileLayout& layout);
bool isPartlyGuessed(const ProfileLayout& layout);

}  // namespace grallocinfo
