// The functions of the Android log that the tool takes, as headers from API 30 on declare them.
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { ANDROID_LOG_VERBOSE = 2, ANDROID_LOG_WARN = 5, ANDROID_LOG_ERROR = 6 };

struct __android_log_message {
    size_t struct_size;
    int32_t buffer_id;
    int32_t priority;
    const char* tag;
    const char* file;
    uint32_t line;
    const char* message;
};

typedef void (*__android_logger_function)(const struct __android_log_message* record);
typedef void (*__android_aborter_function)(const char* message);

int __android_log_print(int priority, const char* tag, const char* format, ...)
        __attribute__((__format__(printf, 3, 4)));
void __android_log_set_logger(__android_logger_function logger);
void __android_log_stderr_logger(const struct __android_log_message* record);
void __android_log_set_aborter(__android_aborter_function aborter);
int32_t __android_log_set_minimum_priority(int32_t priority);

#ifdef __cplusplus
}
#endif
