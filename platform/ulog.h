// The camera stack's process-wide log switchboard (libzelkcam_ulog, closed).
//
// The library reads the static fields afresh at every log statement and never writes them. What the
// reserved operations do is the switchboard's own business; they hold their virtual slots.
#pragma once

#include <cstdint>

namespace NSCam::Utils::ULog {

class __attribute__((visibility("default"))) ULogger {
  public:
    // Verbosity: 5 and above lets debug lines through, 3 info, 2 warnings; errors always pass.
    static uint32_t sDetailsLevel;
    // Module mask: debug and info lines need bit 30 and one bit of 0x7000.
    static uint32_t sNormalDetailsMask;
    // Outputs: bit 0 the Android log, bits 1 and 3 (either) this switchboard.
    static uint32_t sMode;
    // The switchboard object, or null before there is one.
    static ULogger* sULogger;

    virtual ~ULogger();  // slots 0 and 1
    virtual void reserved2();
    // Slot 3. Takes one formatted line. `length` may exceed what `text` holds: it is the length the
    // line had before it was cut to the writer's buffer.
    virtual void write(uint32_t module, const char* tag, int32_t level, const char* text,
                       int32_t length);
    virtual void reserved4();
    virtual void reserved5();
    virtual void reserved6();
    virtual void reserved7();
    virtual void reserved8();
    virtual void reserved9();
    virtual void flush(int mode);  // slot 10
};

}  // namespace NSCam::Utils::ULog

// Whether output of `level` (a logcat letter, 'E' is 69) is wanted for `tag`; non-zero means yes.
extern "C" int zelkcam_testLog(const char* tag, int level);
