// Binder objects of this process. There is no driver on the host, so every binder is a local one.
#include "host/binder/Binder.h"

#include <unistd.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <android/binder_ibinder_platform.h>
#include <android/binder_shell.h>
#include <android/binder_stability.h>
#include <android/log.h>

struct AIBinder_Class {
    std::string descriptor;
    AIBinder_Class_onCreate onCreate;
    AIBinder_Class_onDestroy onDestroy;
    AIBinder_Class_onTransact onTransact;
    std::atomic<AIBinder_onDump> onDump = nullptr;
};

struct AIBinder {
    const AIBinder_Class* clazz;
    void* userData;
    std::atomic<int32_t> strong = 1;
    // Who needs this record: every weak reference, and the strong ones together as one.
    std::atomic<int32_t> holders = 1;
    std::mutex mutex{};             // guards extension
    AIBinder* extension = nullptr;  // with a strong reference
};

struct AIBinder_Weak {
    AIBinder* binder;
};

struct AIBinder_DeathRecipient {
    AIBinder_DeathRecipient_onBinderDied onBinderDied;
    std::atomic<AIBinder_DeathRecipient_onBinderUnlinked> onUnlinked = nullptr;
};

namespace zelkcam::host {
namespace {

void dropHolder(AIBinder* binder) {
    if (binder->holders.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete binder;
    }
}

// Takes one strong reference unless there is none left.
bool tryRetain(AIBinder* binder) {
    int32_t count = binder->strong.load(std::memory_order_relaxed);
    while (count > 0) {
        if (binder->strong.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel)) {
            return true;
        }
    }
    return false;
}

}  // namespace

void retain(AIBinder* binder) {
    binder->strong.fetch_add(1, std::memory_order_relaxed);
}

void release(AIBinder* binder) {
    if (binder->strong.fetch_sub(1, std::memory_order_acq_rel) != 1) {
        return;
    }
    binder->clazz->onDestroy(binder->userData);
    if (binder->extension != nullptr) {
        release(binder->extension);
    }
    dropHolder(binder);
}

}  // namespace zelkcam::host

using namespace zelkcam::host;

AIBinder_Class* AIBinder_Class_define(const char* interfaceDescriptor,
                                      AIBinder_Class_onCreate onCreate,
                                      AIBinder_Class_onDestroy onDestroy,
                                      AIBinder_Class_onTransact onTransact) {
    if (interfaceDescriptor == nullptr || onCreate == nullptr || onDestroy == nullptr ||
        onTransact == nullptr) {
        return nullptr;
    }
    // Classes live as long as the process, also while other libraries' exit handlers run.
    static std::mutex mutex;
    static auto& classes = *new std::vector<AIBinder_Class*>;
    const std::lock_guard lock(mutex);
    return classes.emplace_back(
            new AIBinder_Class{interfaceDescriptor, onCreate, onDestroy, onTransact});
}

void AIBinder_Class_setOnDump(AIBinder_Class* clazz, AIBinder_onDump onDump) {
    required(clazz, "class")->onDump = onDump;
}

// Nobody sends shell commands or interface tokens.
void AIBinder_Class_setHandleShellCommand(AIBinder_Class* clazz,
                                          AIBinder_handleShellCommand /*handleShellCommand*/) {
    required(clazz, "class");
}

void AIBinder_Class_disableInterfaceTokenHeader(AIBinder_Class* clazz) {
    required(clazz, "class");
}

const char* AIBinder_Class_getDescriptor(const AIBinder_Class* clazz) {
    return required(clazz, "class")->descriptor.c_str();
}

AIBinder* AIBinder_new(const AIBinder_Class* clazz, void* args) {
    if (clazz == nullptr) {
        return nullptr;
    }
    return new AIBinder{clazz, clazz->onCreate(args)};
}

void AIBinder_incStrong(AIBinder* binder) {
    if (binder != nullptr) {
        retain(binder);
    }
}

void AIBinder_decStrong(AIBinder* binder) {
    if (binder != nullptr) {
        release(binder);
        return;
    }
    __android_log_write(ANDROID_LOG_ERROR, "binder", "AIBinder_decStrong of a null binder");
}

int32_t AIBinder_debugGetRefCount(AIBinder* binder) {
    return binder == nullptr ? -1 : binder->strong.load();
}

bool AIBinder_isRemote(const AIBinder* /*binder*/) {
    return false;
}

bool AIBinder_isAlive(const AIBinder* binder) {
    return binder != nullptr;
}

binder_status_t AIBinder_ping(AIBinder* binder) {
    return binder == nullptr ? STATUS_UNEXPECTED_NULL : STATUS_OK;
}

binder_status_t AIBinder_dump(AIBinder* binder, int fd, const char** args, uint32_t numArgs) {
    if (binder == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    const AIBinder_onDump onDump = binder->clazz->onDump;
    return onDump == nullptr ? STATUS_OK : onDump(binder, fd, args, numArgs);
}

binder_status_t AIBinder_linkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                     void* cookie) {
    if (binder == nullptr || recipient == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    if (const auto onUnlinked = recipient->onUnlinked.load(); onUnlinked != nullptr) {
        onUnlinked(cookie);
    }
    return STATUS_INVALID_OPERATION;
}

binder_status_t AIBinder_unlinkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                       void* /*cookie*/) {
    if (binder == nullptr || recipient == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    return STATUS_NAME_NOT_FOUND;
}

uid_t AIBinder_getCallingUid() {
    return getuid();
}

pid_t AIBinder_getCallingPid() {
    return getpid();
}

const char* AIBinder_getCallingSid() {
    return nullptr;
}

bool AIBinder_isHandlingTransaction() {
    return false;
}

// They concern remote callers only, of which there are none.
void AIBinder_setRequestingSid(AIBinder* /*binder*/, bool /*requestingSid*/) {}

void AIBinder_setMinSchedulerPolicy(AIBinder* /*binder*/, int /*policy*/, int /*priority*/) {}

void AIBinder_setInheritRt(AIBinder* /*binder*/, bool /*inheritRt*/) {}

bool AIBinder_associateClass(AIBinder* binder, const AIBinder_Class* clazz) {
    return binder != nullptr && clazz != nullptr && binder->clazz == clazz;
}

const AIBinder_Class* AIBinder_getClass(AIBinder* binder) {
    return binder == nullptr ? nullptr : binder->clazz;
}

void* AIBinder_getUserData(AIBinder* binder) {
    return binder == nullptr ? nullptr : binder->userData;
}

binder_status_t AIBinder_prepareTransaction(AIBinder* binder, AParcel** in) {
    return binder == nullptr || in == nullptr ? STATUS_UNEXPECTED_NULL : STATUS_INVALID_OPERATION;
}

binder_status_t AIBinder_transact(AIBinder* binder, transaction_code_t /*code*/, AParcel** in,
                                  AParcel** out, binder_flags_t /*flags*/) {
    if (binder == nullptr || in == nullptr || *in == nullptr || out == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    return STATUS_INVALID_OPERATION;
}

void AParcel_delete(AParcel* /*parcel*/) {}

AIBinder_DeathRecipient* AIBinder_DeathRecipient_new(
        AIBinder_DeathRecipient_onBinderDied onBinderDied) {
    return onBinderDied == nullptr ? nullptr : new AIBinder_DeathRecipient{onBinderDied};
}

void AIBinder_DeathRecipient_setOnUnlinked(AIBinder_DeathRecipient* recipient,
                                           AIBinder_DeathRecipient_onBinderUnlinked onUnlinked) {
    if (recipient != nullptr) {
        recipient->onUnlinked = onUnlinked;
    }
}

void AIBinder_DeathRecipient_delete(AIBinder_DeathRecipient* recipient) {
    delete recipient;
}

AIBinder_Weak* AIBinder_Weak_new(AIBinder* binder) {
    if (binder == nullptr) {
        return nullptr;
    }
    binder->holders.fetch_add(1, std::memory_order_relaxed);
    return new AIBinder_Weak{binder};
}

void AIBinder_Weak_delete(AIBinder_Weak* weakBinder) {
    if (weakBinder == nullptr) {
        return;
    }
    dropHolder(weakBinder->binder);
    delete weakBinder;
}

AIBinder* AIBinder_Weak_promote(AIBinder_Weak* weakBinder) {
    if (weakBinder == nullptr || !tryRetain(weakBinder->binder)) {
        return nullptr;
    }
    return weakBinder->binder;
}

AIBinder_Weak* AIBinder_Weak_clone(const AIBinder_Weak* weak) {
    return weak == nullptr ? nullptr : AIBinder_Weak_new(weak->binder);
}

bool AIBinder_lt(const AIBinder* lhs, const AIBinder* rhs) {
    return std::less<>()(lhs, rhs);
}

bool AIBinder_Weak_lt(const AIBinder_Weak* lhs, const AIBinder_Weak* rhs) {
    if (lhs == nullptr || rhs == nullptr) {
        return std::less<>()(lhs, rhs);
    }
    return AIBinder_lt(lhs->binder, rhs->binder);
}

binder_status_t AIBinder_getExtension(AIBinder* binder, AIBinder** outExt) {
    if (outExt != nullptr) {
        *outExt = nullptr;
    }
    if (binder == nullptr || outExt == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    const std::lock_guard lock(binder->mutex);
    if (binder->extension != nullptr) {
        retain(binder->extension);
    }
    *outExt = binder->extension;
    return STATUS_OK;
}

binder_status_t AIBinder_setExtension(AIBinder* binder, AIBinder* ext) {
    if (binder == nullptr || ext == nullptr) {
        return STATUS_UNEXPECTED_NULL;
    }
    retain(ext);
    AIBinder* replaced = nullptr;
    {
        const std::lock_guard lock(binder->mutex);
        replaced = std::exchange(binder->extension, ext);
    }
    if (replaced != nullptr) {
        release(replaced);
    }
    return STATUS_OK;
}

// Stability is a promise to remote callers.
void AIBinder_markSystemStability(AIBinder* /*binder*/) {}

// Declared instead of the one above for clients that are compiled as vendor code.
// NOLINTNEXTLINE(readability-identifier-naming): the published name
extern "C" void AIBinder_markVendorStability(AIBinder* /*binder*/) {}

void AIBinder_markVintfStability(AIBinder* /*binder*/) {}
