// Owners of the binder NDK's objects.
#pragma once

#include <assert.h>
#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <cstddef>
#include <iostream>
#include <string>

#include <android/binder_ibinder.h>
#include <android/binder_internal_logging.h>
#include <android/binder_parcel.h>
#include <android/binder_status.h>

namespace ndk {

// One strong reference to a binder, or none.
class SpAIBinder {
  public:
    SpAIBinder() : mBinder(nullptr) {}
    SpAIBinder(std::nullptr_t) : SpAIBinder() {}
    // Takes over the caller's reference.
    explicit SpAIBinder(AIBinder* binder) : mBinder(binder) {}
    SpAIBinder(const SpAIBinder& other) : SpAIBinder() { *this = other; }
    ~SpAIBinder() { set(nullptr); }

    SpAIBinder& operator=(const SpAIBinder& other) {
        if (this == &other) {
            return *this;
        }
        AIBinder_incStrong(other.mBinder);
        set(other.mBinder);
        return *this;
    }

    // Drops the present reference and takes over the caller's.
    void set(AIBinder* binder) {
        AIBinder* old = mBinder;
        if (old != nullptr) {
            AIBinder_decStrong(old);
        }
        mBinder = binder;
    }

    AIBinder* get() const { return mBinder; }
    // Where a call may write a reference that this object is to own.
    AIBinder** getR() { return &mBinder; }

  private:
    AIBinder* mBinder;
};

#define NDK_COMPARE_BINDERS(op)                                                \
    static inline bool operator op(const SpAIBinder& l, const SpAIBinder& r) { \
        return l.get() op r.get();                                             \
    }                                                                          \
    static inline bool operator op(const SpAIBinder& l, const AIBinder* r) {   \
        return l.get() op r;                                                   \
    }                                                                          \
    static inline bool operator op(const AIBinder* l, const SpAIBinder& r) {   \
        return l op r.get();                                                   \
    }
NDK_COMPARE_BINDERS(!=)
NDK_COMPARE_BINDERS(<)
NDK_COMPARE_BINDERS(<=)
NDK_COMPARE_BINDERS(==)
NDK_COMPARE_BINDERS(>)
NDK_COMPARE_BINDERS(>=)
#undef NDK_COMPARE_BINDERS

namespace impl {

// Owns one T. Destroy is called for DEFAULT too, so it has to accept it.
template <typename T, void (*Destroy)(T), T DEFAULT>
class ScopedAResource {
  public:
    explicit ScopedAResource(T t = DEFAULT) : mT(t) {}
    ~ScopedAResource() { set(DEFAULT); }

    ScopedAResource(const ScopedAResource&) = delete;
    ScopedAResource& operator=(const ScopedAResource&) = delete;
    ScopedAResource(ScopedAResource&& other) noexcept : mT(other.mT) { other.mT = DEFAULT; }
    ScopedAResource& operator=(ScopedAResource&& other) noexcept {
        set(other.mT);
        other.mT = DEFAULT;
        return *this;
    }

    void set(T t) {
        Destroy(mT);
        mT = t;
    }

    T get() { return mT; }
    const T get() const { return mT; }
    [[nodiscard]] T release() {
        T t = mT;
        mT = DEFAULT;
        return t;
    }
    // Where a call may write a value that this object is to own.
    T* getR() { return &mT; }

  private:
    T mT;
};

}  // namespace impl

// The outcome of a call. By default it holds nothing, which is not success.
class ScopedAStatus : public impl::ScopedAResource<AStatus*, AStatus_delete, nullptr> {
  public:
    // Takes over the status.
    explicit ScopedAStatus(AStatus* status = nullptr) : ScopedAResource(status) {}
    ~ScopedAStatus() {}
    ScopedAStatus(ScopedAStatus&&) = default;
    ScopedAStatus& operator=(ScopedAStatus&&) = default;

    bool isOk() const { return get() != nullptr && AStatus_isOk(get()); }
    // These need a status to look at.
    binder_exception_t getExceptionCode() const { return AStatus_getExceptionCode(get()); }
    int32_t getServiceSpecificError() const { return AStatus_getServiceSpecificError(get()); }
    binder_status_t getStatus() const { return AStatus_getStatus(get()); }
    const char* getMessage() const { return AStatus_getMessage(get()); }
    std::string getDescription() const {
        const char* text = AStatus_getDescription(get());
        std::string description = text == nullptr ? "" : text;
        AStatus_deleteDescription(text);
        return description;
    }

    static ScopedAStatus ok() { return ScopedAStatus(AStatus_newOk()); }
    static ScopedAStatus fromExceptionCode(binder_exception_t exception) {
        return ScopedAStatus(AStatus_fromExceptionCode(exception));
    }
    static ScopedAStatus fromExceptionCodeWithMessage(binder_exception_t exception,
                                                      const char* message) {
        return ScopedAStatus(AStatus_fromExceptionCodeWithMessage(exception, message));
    }
    static ScopedAStatus fromServiceSpecificError(int32_t serviceSpecific) {
        return ScopedAStatus(AStatus_fromServiceSpecificError(serviceSpecific));
    }
    static ScopedAStatus fromServiceSpecificErrorWithMessage(int32_t serviceSpecific,
                                                             const char* message) {
        return ScopedAStatus(AStatus_fromServiceSpecificErrorWithMessage(serviceSpecific, message));
    }
    static ScopedAStatus fromStatus(binder_status_t status) {
        return ScopedAStatus(AStatus_fromStatus(status));
    }
};

static inline std::ostream& operator<<(std::ostream& os, const ScopedAStatus& status) {
    return os << status.getDescription();
}

class ScopedAParcel : public impl::ScopedAResource<AParcel*, AParcel_delete, nullptr> {
  public:
    explicit ScopedAParcel(AParcel* parcel = nullptr) : ScopedAResource(parcel) {}
    ~ScopedAParcel() {}
    ScopedAParcel(ScopedAParcel&&) = default;
    ScopedAParcel& operator=(ScopedAParcel&&) = default;

    bool operator!=(const ScopedAParcel& other) const { return get() != other.get(); }
    bool operator<(const ScopedAParcel& other) const { return get() < other.get(); }
    bool operator<=(const ScopedAParcel& other) const { return get() <= other.get(); }
    bool operator==(const ScopedAParcel& other) const { return get() == other.get(); }
    bool operator>(const ScopedAParcel& other) const { return get() > other.get(); }
    bool operator>=(const ScopedAParcel& other) const { return get() >= other.get(); }
};

class ScopedAIBinder_DeathRecipient
    : public impl::ScopedAResource<AIBinder_DeathRecipient*, AIBinder_DeathRecipient_delete,
                                   nullptr> {
  public:
    explicit ScopedAIBinder_DeathRecipient(AIBinder_DeathRecipient* recipient = nullptr)
        : ScopedAResource(recipient) {}
    ~ScopedAIBinder_DeathRecipient() {}
    ScopedAIBinder_DeathRecipient(ScopedAIBinder_DeathRecipient&&) = default;
    ScopedAIBinder_DeathRecipient& operator=(ScopedAIBinder_DeathRecipient&&) = default;
};

class ScopedAIBinder_Weak
    : public impl::ScopedAResource<AIBinder_Weak*, AIBinder_Weak_delete, nullptr> {
  public:
    explicit ScopedAIBinder_Weak(AIBinder_Weak* weak = nullptr) : ScopedAResource(weak) {}
    ~ScopedAIBinder_Weak() {}
    ScopedAIBinder_Weak(ScopedAIBinder_Weak&&) = default;
    ScopedAIBinder_Weak& operator=(ScopedAIBinder_Weak&&) = default;

    // The binder, or nothing once it is gone.
    SpAIBinder promote() const { return SpAIBinder(AIBinder_Weak_promote(get())); }
};

namespace internal {

inline void closeWithError(int fd) {
    if (fd == -1) {
        return;
    }
    if (close(fd) != 0) {
        syslog(LOG_ERR, "Could not close FD %d: %s", fd, strerror(errno));
    }
}

}  // namespace internal

// Owns a file descriptor; -1 is none.
class ScopedFileDescriptor : public impl::ScopedAResource<int, internal::closeWithError, -1> {
  public:
    ScopedFileDescriptor() : ScopedFileDescriptor(-1) {}
    // Takes over the descriptor.
    explicit ScopedFileDescriptor(int fd) : ScopedAResource(fd) {}
    ~ScopedFileDescriptor() {}
    ScopedFileDescriptor(ScopedFileDescriptor&&) = default;
    ScopedFileDescriptor& operator=(ScopedFileDescriptor&&) = default;

    // A second descriptor; holds -1 when it cannot be made.
    ScopedFileDescriptor dup() const { return ScopedFileDescriptor(::dup(get())); }

    bool operator!=(const ScopedFileDescriptor& other) const { return get() != other.get(); }
    bool operator<(const ScopedFileDescriptor& other) const { return get() < other.get(); }
    bool operator<=(const ScopedFileDescriptor& other) const { return get() <= other.get(); }
    bool operator==(const ScopedFileDescriptor& other) const { return get() == other.get(); }
    bool operator>(const ScopedFileDescriptor& other) const { return get() > other.get(); }
    bool operator>=(const ScopedFileDescriptor& other) const { return get() >= other.get(); }
};

}  // namespace ndk
