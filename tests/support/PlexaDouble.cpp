#include "tests/support/PlexaDouble.h"

#include <cstring>

#include "tests/support/Journal.h"

namespace zelkcam::test {

namespace {

// Where this extension keeps the status word; callers must not care.
constexpr size_t kStatusOffset = 44;

uint32_t& statusOf(plexa_sf_record_t& record) {
    return *reinterpret_cast<uint32_t*>(reinterpret_cast<char*>(&record) + kStatusOffset);
}

bool isPreset(int attribute, const void* out) {
    static const plexa_sf_record_t zeros = {};
    const int32_t none = -1;
    if (attribute == PLEXA_GET_ION_FD)
        return memcmp(out, &none, sizeof(none)) == 0;
    return memcmp(out, &zeros, attribute == PLEXA_GET_SF_INFO ? sizeof(zeros) : 4) == 0;
}

int resultOfRead(int attribute) {
    PlexaScript& script = plexaScript();
    ++script.readsInAll;
    if (script.failFrom != 0 && script.readsInAll >= script.failFrom)
        return -1;
    return script.results[attribute];
}

void answer(int attribute, void* out) {
    PlexaScript& script = plexaScript();
    const std::vector<int32_t>& values = script.values[attribute];
    const size_t read = script.reads[attribute]++;
    if (attribute == PLEXA_GET_SF_INFO)
        statusOf(*static_cast<plexa_sf_record_t*>(out)) = script.status;
    else if (!values.empty())
        memcpy(out, &values[read % values.size()], sizeof(int32_t));
}

}  // namespace

PlexaScript& plexaScript() {
    static PlexaScript& instance = *new PlexaScript;
    return instance;
}

void describeBuffers(const Attributes& a) {
    plexaScript().reads.clear();
    plexaScript().readsInAll = 0;
    plexaScript().values = {
            {PLEXA_GET_FORMAT, {a.format}},
            {PLEXA_GET_USAGE, {a.usage}},
            {PLEXA_GET_WIDTH, {a.width}},
            {PLEXA_GET_HEIGHT, {a.height, a.height32}},
            {PLEXA_GET_STRIDE, {a.stride, a.stride32}},
            {PLEXA_GET_VERTICAL_STRIDE, {a.verticalStride}},
            {PLEXA_GET_ALLOC_SIZE, {a.allocSize}},
            {PLEXA_GET_BUFFER_FLAGS, {a.flags}},
    };
}

}  // namespace zelkcam::test

using zelkcam::test::journal;
using zelkcam::test::plexaScript;

extern "C" {

__attribute__((visibility("default"))) int plexa_query(const native_handle*, int attribute,
                                                       void* out) {
    journal().add("plexa_query " + std::to_string(attribute));
    plexaScript().wrongPresets += !zelkcam::test::isPreset(attribute, out);
    const int result = zelkcam::test::resultOfRead(attribute);
    if (result == 0)
        zelkcam::test::answer(attribute, out);
    return result;
}

__attribute__((visibility("default"))) int plexa_perform(const native_handle*, int operation,
                                                         void* in) {
    journal().add("plexa_perform " + std::to_string(operation));
    if (operation == PLEXA_SET_SF_INFO)
        plexaScript().status = zelkcam::test::statusOf(*static_cast<plexa_sf_record_t*>(in));
    else if (operation == PLEXA_SET_SOF)
        plexaScript().startOfFrame = *static_cast<uint64_t*>(in);
    return plexaScript().performResults[operation];
}

__attribute__((visibility("default"))) int plexa_sf_set_status(plexa_sf_record_t* record, int mask,
                                                               int value) {
    journal().add("plexa_sf_set_status");
    uint32_t& status = zelkcam::test::statusOf(*record);
    status = (status & ~static_cast<uint32_t>(mask)) | static_cast<uint32_t>(value & mask);
    return -1;  // nobody may look at it
}

}  // extern "C"
