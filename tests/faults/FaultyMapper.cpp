// A mapper library whose functions are the test program's.
#include "platform/mapper.h"

extern "C" AIMapper* zelkcam_faults_mapper();

extern "C" AIMapper_Error AIMapper_loadIMapper(AIMapper** outImplementation) {
    *outImplementation = zelkcam_faults_mapper();
    return *outImplementation != nullptr ? AIMAPPER_ERROR_NONE : AIMAPPER_ERROR_UNSUPPORTED;
}
