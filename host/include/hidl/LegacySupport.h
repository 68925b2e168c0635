// Services whose implementation lies in a library of its own. The host platform loads none:
// registering one is EXIT_FAILURE, as where no implementation is found.
#pragma once

#include <sys/wait.h>

#include <string>

#include <hidl/HidlLazyUtils.h>
#include <hidl/HidlTransportSupport.h>
#include <utils/Errors.h>
#include <utils/Log.h>
#include <utils/StrongPointer.h>

namespace android::hardware {

__attribute__((warn_unused_result)) status_t registerPassthroughServiceImplementation(
        const std::string& interfaceName, const std::string& expectInterfaceName,
        const std::string& serviceName);
__attribute__((warn_unused_result)) status_t registerLazyPassthroughServiceImplementation(
        const std::string& interfaceName, const std::string& expectInterfaceName,
        const std::string& serviceName);

// registerX<Interface>(name) and, which returns only on failure, defaultX<Interface>(name,
// threads).
#define ZELKCAM_HIDL_PASSTHROUGH(REGISTER, DEFAULT)                                              \
    __attribute__((warn_unused_result)) inline status_t REGISTER(                                \
            const std::string& interfaceName, const std::string& serviceName = "default") {      \
        return REGISTER(interfaceName, interfaceName, serviceName);                              \
    }                                                                                            \
    template <class Interface, class ExpectInterface = Interface>                                \
    __attribute__((warn_unused_result)) status_t REGISTER(const std::string& name = "default") { \
        return REGISTER(Interface::descriptor, ExpectInterface::descriptor, name);               \
    }                                                                                            \
    template <class Interface, class ExpectInterface = Interface>                                \
    __attribute__((warn_unused_result)) status_t DEFAULT(const std::string& name,                \
                                                         size_t maxThreads = 1) {                \
        configureRpcThreadpool(maxThreads, true);                                                \
        const status_t result = REGISTER<Interface, ExpectInterface>(name);                      \
        if (result != OK) {                                                                      \
            return result;                                                                       \
        }                                                                                        \
        joinRpcThreadpool();                                                                     \
        return UNKNOWN_ERROR;                                                                    \
    }                                                                                            \
    template <class Interface, class ExpectInterface = Interface>                                \
    __attribute__((warn_unused_result)) status_t DEFAULT(size_t maxThreads = 1) {                \
        return DEFAULT<Interface, ExpectInterface>("default", maxThreads);                       \
    }
ZELKCAM_HIDL_PASSTHROUGH(registerPassthroughServiceImplementation,
                         defaultPassthroughServiceImplementation)
ZELKCAM_HIDL_PASSTHROUGH(registerLazyPassthroughServiceImplementation,
                         defaultLazyPassthroughServiceImplementation)
#undef ZELKCAM_HIDL_PASSTHROUGH

}  // namespace android::hardware
