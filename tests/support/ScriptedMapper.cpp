// A mapper library whose functions are the test program's.
#include "platform/mapper.h"

extern "C" AIMapper* zelkcam_test_scriptedMapper();

// Answers a failure with a mapper and success without one: only the pointer may count.
extern "C" AIMapper_Error AIMapper_loadIMapper(AIMapper** outImplementation) {
    *outImplementation = zelkcam_test_scriptedMapper();
    return *outImplementation ? AIMAPPER_ERROR_UNSUPPORTED : AIMAPPER_ERROR_NONE;
}
