// The bases of generated AIDL interfaces.
#pragma once

#include <assert.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>

#if defined(__has_include)
#if __has_include(<android/binder_shell.h>)
#include <android/binder_shell.h>
#define HAS_BINDER_SHELL_COMMAND
#endif
#endif

namespace ndk {

// A base whose objects live in shared pointers only and can give one to themselves. Objects are
// made with SharedRefBase::make<T>().
class SharedRefBase {
  public:
    SharedRefBase() {}
    virtual ~SharedRefBase() {
        std::call_once(mFirstRef, [] {
            __assert(__FILE__, __LINE__, "SharedRefBase: destroyed without ever being shared");
        });
        if (ref() != nullptr) {
            __assert(__FILE__, __LINE__, "SharedRefBase: destroyed while it is still shared");
        }
    }

    // The first call makes the owning pointer; every later one needs an owner to be alive.
    std::shared_ptr<SharedRefBase> ref() {
        std::shared_ptr<SharedRefBase> owner;
        std::call_once(mFirstRef, [&] {
            owner.reset(this);
            mSelf = owner;
        });
        return owner != nullptr ? owner : mSelf.lock();
    }

    template <typename CHILD>
    std::shared_ptr<CHILD> ref() {
        return std::static_pointer_cast<CHILD>(ref());
    }

    template <class T, class... Args>
    static std::shared_ptr<T> make(Args&&... args) {
        T* object = new T(std::forward<Args>(args)...);
        return object->template ref<T>();
    }

    static void operator delete(void* memory) { std::free(memory); }

#if !defined(__ANDROID_API__) || __ANDROID_API__ >= 30 || defined(__ANDROID_APEX__)
  private:
#endif
    static void* operator new(size_t size) { return std::malloc(size); }

  private:
    std::once_flag mFirstRef;
    std::weak_ptr<SharedRefBase> mSelf;
};

// The base of every interface.
class ICInterface : public SharedRefBase {
  public:
    ICInterface() {}
    virtual ~ICInterface() {}

    // The binder of this interface; a local object makes one when it has none.
    virtual SpAIBinder asBinder() = 0;
    virtual bool isRemote() = 0;
    virtual inline binder_status_t dump(int fd, const char** args, uint32_t numArgs);
#ifdef HAS_BINDER_SHELL_COMMAND
    virtual inline binder_status_t handleShellCommand(int in, int out, int err, const char** argv,
                                                      uint32_t argc);
#endif

    // The object behind a local binder of an interface; null for any other binder.
    static inline std::shared_ptr<ICInterface> asInterface(AIBinder* binder);

    // A class of binders whose user data is an interface object.
    static inline AIBinder_Class* defineClass(const char* interfaceDescriptor,
                                              AIBinder_Class_onTransact onTransact);

  private:
    // The user data of a local binder. It shares the object: a living binder keeps it alive.
    struct ICInterfaceData {
        std::shared_ptr<ICInterface> interface;

        static inline std::shared_ptr<ICInterface> getInterface(AIBinder* binder);
        static inline void* onCreate(void* args);
        static inline void onDestroy(void* userData);
        static inline binder_status_t onDump(AIBinder* binder, int fd, const char** args,
                                             uint32_t numArgs);
#ifdef HAS_BINDER_SHELL_COMMAND
        static inline binder_status_t handleShellCommand(AIBinder* binder, int in, int out, int err,
                                                         const char** argv, uint32_t argc);
#endif
    };
};

// The base of local objects.
template <typename INTERFACE>
class BnCInterface : public INTERFACE {
  public:
    BnCInterface() {}
    virtual ~BnCInterface() {}

    SpAIBinder asBinder() final {
        std::lock_guard<std::mutex> lock(mMutex);
        SpAIBinder binder = mWeakBinder.promote();
        if (binder.get() == nullptr) {
            binder = createBinder();
            mWeakBinder.set(AIBinder_Weak_new(binder.get()));
        }
        return binder;
    }
    bool isRemote() final { return false; }

    static std::string makeServiceName(std::string_view instance) {
        return INTERFACE::descriptor + ("/" + std::string(instance));
    }

  protected:
    // Makes a binder whose user data shares this object.
    virtual SpAIBinder createBinder() = 0;

  private:
    std::mutex mMutex;  // guards mWeakBinder
    ScopedAIBinder_Weak mWeakBinder;
};

// The base of proxies.
template <typename INTERFACE>
class BpCInterface : public INTERFACE {
  public:
    explicit BpCInterface(const SpAIBinder& binder) : mBinder(binder) {}
    virtual ~BpCInterface() {}

    SpAIBinder asBinder() final { return mBinder; }
    bool isRemote() final { return AIBinder_isRemote(mBinder.get()); }
    binder_status_t dump(int fd, const char** args, uint32_t numArgs) override {
        return AIBinder_dump(mBinder.get(), fd, args, numArgs);
    }

  private:
    SpAIBinder mBinder;
};

binder_status_t ICInterface::dump(int /*fd*/, const char** /*args*/, uint32_t /*numArgs*/) {
    return STATUS_OK;
}

std::shared_ptr<ICInterface> ICInterface::asInterface(AIBinder* binder) {
    return ICInterfaceData::getInterface(binder);
}

AIBinder_Class* ICInterface::defineClass(const char* interfaceDescriptor,
                                         AIBinder_Class_onTransact onTransact) {
    AIBinder_Class* clazz = AIBinder_Class_define(interfaceDescriptor, ICInterfaceData::onCreate,
                                                  ICInterfaceData::onDestroy, onTransact);
    if (clazz == nullptr) {
        return nullptr;
    }
    AIBinder_Class_setOnDump(clazz, ICInterfaceData::onDump);
#ifdef HAS_BINDER_SHELL_COMMAND
    if (AIBinder_Class_setHandleShellCommand != nullptr) {
        AIBinder_Class_setHandleShellCommand(clazz, ICInterfaceData::handleShellCommand);
    }
#endif
    return clazz;
}

std::shared_ptr<ICInterface> ICInterface::ICInterfaceData::getInterface(AIBinder* binder) {
    void* userData = binder == nullptr ? nullptr : AIBinder_getUserData(binder);
    return userData == nullptr ? nullptr : static_cast<ICInterfaceData*>(userData)->interface;
}

void* ICInterface::ICInterfaceData::onCreate(void* args) {
    return new ICInterfaceData{static_cast<ICInterface*>(args)->ref<ICInterface>()};
}

void ICInterface::ICInterfaceData::onDestroy(void* userData) {
    delete static_cast<ICInterfaceData*>(userData);
}

binder_status_t ICInterface::ICInterfaceData::onDump(AIBinder* binder, int fd, const char** args,
                                                     uint32_t numArgs) {
    const std::shared_ptr<ICInterface> interface = getInterface(binder);
    return interface == nullptr ? STATUS_DEAD_OBJECT : interface->dump(fd, args, numArgs);
}

#ifdef HAS_BINDER_SHELL_COMMAND
binder_status_t ICInterface::handleShellCommand(int /*in*/, int /*out*/, int /*err*/,
                                                const char** /*argv*/, uint32_t /*argc*/) {
    return STATUS_OK;
}

binder_status_t ICInterface::ICInterfaceData::handleShellCommand(AIBinder* binder, int in, int out,
                                                                 int err, const char** argv,
                                                                 uint32_t argc) {
    const std::shared_ptr<ICInterface> interface = getInterface(binder);
    return interface == nullptr ? STATUS_DEAD_OBJECT
                                : interface->handleShellCommand(in, out, err, argv, argc);
}
#endif

}  // namespace ndk

// A SharedRefBase from std::make_shared would have two owners. These overloads turn the attempt
// into a compile error.
namespace std {

template <typename T, typename... Args,
          std::enable_if_t<std::is_base_of<::ndk::SharedRefBase, T>::value, bool> = true>
shared_ptr<T> make_shared(Args...) {
    static_assert(!std::is_base_of<::ndk::SharedRefBase, T>::value,
                  "make it with ndk::SharedRefBase::make<T>()");
    return nullptr;
}

template <typename T, typename... Args,
          std::enable_if_t<std::is_base_of<::ndk::SharedRefBase, T>::value, bool> = true>
unique_ptr<T> make_unique(Args...) {
    static_assert(!std::is_base_of<::ndk::SharedRefBase, T>::value,
                  "make it with ndk::SharedRefBase::make<T>()");
    return nullptr;
}

}  // namespace std
