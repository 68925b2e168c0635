#include <string.h>

#include <android/log.h>
#include <hidl/HidlSupport.h>

namespace android {
namespace hardware {

namespace details {

void logAlwaysFatal(const char* message) {
    __android_log_assert(nullptr, "hidl", "%s", message);
}

int compareText(const char* left, const char* right) {
    return strcmp(left, right);
}

}  // namespace details

namespace {

constexpr const char* kEmptyText = "";

}  // namespace

hidl_handle::hidl_handle() : mHandle(nullptr), mOwnsHandle(false), mPad{} {}

hidl_handle::~hidl_handle() {
    freeHandle();
}

hidl_handle::hidl_handle(const native_handle_t* handle) : hidl_handle() {
    mHandle = handle;
}

hidl_handle& hidl_handle::operator=(const native_handle_t* handle) {
    freeHandle();
    mHandle = handle;
    return *this;
}

hidl_handle::hidl_handle(const hidl_handle& other) : hidl_handle() {
    *this = other;
}

hidl_handle& hidl_handle::operator=(const hidl_handle& other) {
    if (this == &other) {
        return *this;
    }
    native_handle_t* clone = nullptr;
    if (other.getNativeHandle() != nullptr) {
        clone = native_handle_clone(other.getNativeHandle());
        if (clone == nullptr) {
            details::logAlwaysFatal("a native handle cannot be cloned into a hidl_handle");
        }
    }
    setTo(clone, clone != nullptr);
    return *this;
}

hidl_handle::hidl_handle(hidl_handle&& other) noexcept : hidl_handle() {
    *this = std::move(other);
}

hidl_handle& hidl_handle::operator=(hidl_handle&& other) noexcept {
    if (this == &other) {
        return *this;
    }
    freeHandle();
    mHandle = other.mHandle;
    mOwnsHandle = other.mOwnsHandle;
    other.mHandle = nullptr;
    other.mOwnsHandle = false;
    return *this;
}

void hidl_handle::setTo(native_handle_t* handle, bool shouldOwn) {
    freeHandle();
    mHandle = handle;
    mOwnsHandle = shouldOwn;
}

const native_handle_t* hidl_handle::operator->() const {
    return mHandle;
}

hidl_handle::operator const native_handle_t*() const {
    return mHandle;
}

const native_handle_t* hidl_handle::getNativeHandle() const {
    return mHandle;
}

void hidl_handle::freeHandle() {
    if (mOwnsHandle && getNativeHandle() != nullptr) {
        native_handle_close(mHandle);
        native_handle_delete(const_cast<native_handle_t*>(getNativeHandle()));
    }
    mHandle = nullptr;
    mOwnsHandle = false;
}

hidl_string::hidl_string() : mBuffer(kEmptyText), mSize(0), mOwnsBuffer(false), mPad{} {}

hidl_string::~hidl_string() {
    release();
}

hidl_string::hidl_string(const hidl_string& other) : hidl_string() {
    copyFrom(other.c_str(), other.size());
}

hidl_string::hidl_string(const char* text) : hidl_string() {
    *this = text;
}

hidl_string::hidl_string(const char* text, size_t length) : hidl_string() {
    if (text != nullptr) {
        copyFrom(text, length);
    }
}

hidl_string::hidl_string(const std::string& text) : hidl_string() {
    copyFrom(text.c_str(), text.size());
}

hidl_string::hidl_string(hidl_string&& other) noexcept : hidl_string() {
    moveFrom(other);
}

hidl_string& hidl_string::operator=(const hidl_string& other) {
    if (this != &other) {
        copyFrom(other.c_str(), other.size());
    }
    return *this;
}

hidl_string& hidl_string::operator=(const char* text) {
    if (text == nullptr) {
        release();
    } else {
        copyFrom(text, strlen(text));
    }
    return *this;
}

hidl_string& hidl_string::operator=(const std::string& text) {
    copyFrom(text.c_str(), text.size());
    return *this;
}

hidl_string& hidl_string::operator=(hidl_string&& other) noexcept {
    if (this != &other) {
        moveFrom(other);
    }
    return *this;
}

hidl_string::operator std::string() const {
    return std::string(mBuffer, mSize);
}

const char* hidl_string::c_str() const {
    return mBuffer;
}

size_t hidl_string::size() const {
    return mSize;
}

bool hidl_string::empty() const {
    return mSize == 0;
}

void hidl_string::clear() {
    release();
}

void hidl_string::setToExternal(const char* data, size_t size) {
    if (data == nullptr || size > UINT32_MAX || data[size] != '\0') {
        details::logAlwaysFatal("hidl_string cannot refer to a text that does not end with NUL");
    }
    release();
    mBuffer = data;
    mSize = static_cast<uint32_t>(size);
}

// The source may lie in the text that is replaced, which therefore goes last.
void hidl_string::copyFrom(const char* data, size_t size) {
    if (size > UINT32_MAX) {
        details::logAlwaysFatal("hidl_string holds at most 2^32 - 1 characters");
    }
    char* copy = new char[size + 1];
    memcpy(copy, data, size);
    copy[size] = '\0';
    release();
    mBuffer = copy;
    mSize = static_cast<uint32_t>(size);
    mOwnsBuffer = true;
}

void hidl_string::moveFrom(hidl_string& other) {
    release();
    mBuffer = other.mBuffer;
    mSize = other.mSize;
    mOwnsBuffer = other.mOwnsBuffer;
    other.mOwnsBuffer = false;
    other.release();
}

void hidl_string::release() {
    if (mOwnsBuffer) {
        delete[] static_cast<const char*>(mBuffer);
    }
    mBuffer = kEmptyText;
    mSize = 0;
    mOwnsBuffer = false;
}

std::ostream& operator<<(std::ostream& stream, const hidl_string& text) {
    return stream << text.c_str();
}

std::string toString(const hidl_string& text) {
    return "\"" + std::string(text) + "\"";
}

std::string toString(const hidl_memory& memory) {
    return "memory {.name = " + toString(memory.name()) + ", .size = " + toString(memory.size()) +
           ", .handle = " + toString(static_cast<const void*>(memory.handle())) + "}";
}

sp<HidlMemory> HidlMemory::getInstance(const hidl_memory& memory) {
    return getInstance(hidl_memory(memory));
}

sp<HidlMemory> HidlMemory::getInstance(hidl_memory&& memory) {
    return new HidlMemory(std::move(memory));
}

sp<HidlMemory> HidlMemory::getInstance(const hidl_string& name, hidl_handle&& handle,
                                       uint64_t size) {
    return getInstance(hidl_memory(name, std::move(handle), size));
}

sp<HidlMemory> HidlMemory::getInstance(const hidl_string& name, int fd, uint64_t size) {
    native_handle_t* const raw = native_handle_create(1, 0);
    if (raw == nullptr) {
        details::logAlwaysFatal("no memory for a native handle");
    }
    raw->data[0] = fd;
    hidl_handle handle;
    handle.setTo(raw, true);
    return getInstance(name, std::move(handle), size);
}

}  // namespace hardware
}  // namespace android
