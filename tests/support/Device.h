// The device's allocator and stable C mapper as a client finds them.
#pragma once

#include <dlfcn.h>

#include <string>

#include "platform/allocator.h"
#include "platform/mapper.h"
#include "platform/utils.h"

namespace zelkcam::test {

using aidl::android::hardware::graphics::allocator::IAllocator;

inline constexpr char kAllocatorName[] = "android.hardware.graphics.allocator.IAllocator/default";
inline constexpr char kStandardName[] = "android.hardware.graphics.common.StandardMetadataType";
inline constexpr char kPlexaName[] = "zelkcam.plexa.BufferAttribute";

inline IAllocator& allocator() {
    static const auto service =
            IAllocator::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(kAllocatorName)));
    return *service;
}

inline void* mapperLibrary() {
    static void* library = [] {
        std::string suffix;
        allocator().getIMapperLibrarySuffix(&suffix);
        return android_load_sphal_library(("mapper." + suffix + ".so").c_str(), RTLD_NOW);
    }();
    return library;
}

inline const AIMapperV5& mapper() {
    static const AIMapper* loaded = [] {
        AIMapper* implementation = nullptr;
        reinterpret_cast<decltype(&AIMapper_loadIMapper)>(
                dlsym(mapperLibrary(), "AIMapper_loadIMapper"))(&implementation);
        return implementation;
    }();
    return loaded->v5;
}

}  // namespace zelkcam::test
