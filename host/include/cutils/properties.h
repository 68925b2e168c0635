// System properties: short texts by name, for the whole device.
//
// Every function is safe from any thread.
#pragma once

#include <stdint.h>
#include <sys/cdefs.h>
#include <sys/system_properties.h>

__BEGIN_DECLS

// Bytes with the terminating zero.
#define PROPERTY_KEY_MAX PROP_NAME_MAX
#define PROPERTY_VALUE_MAX PROP_VALUE_MAX

// Copies the value, or the default of an unset or empty property, into `value`, which has room for
// PROPERTY_VALUE_MAX bytes; a longer text is cut. Answers the length copied. A null default is the
// empty text.
int property_get(const char* key, char* value, const char* default_value);

// Whether the property is "1", "y", "yes", "on", "true" or "0", "n", "no", "off", "false"; the
// default otherwise.
int8_t property_get_bool(const char* key, int8_t default_value);

// The number that the property begins with (decimal, 0x hexadecimal or 0 octal); the default when
// there is none or it is out of range.
int64_t property_get_int64(const char* key, int64_t default_value);
int32_t property_get_int32(const char* key, int32_t default_value);

// 0 on success, negative on failure. A null value is the empty text.
int property_set(const char* key, const char* value);

// Calls `propfn` for every property that is set. 0 on success.
int property_list(void (*propfn)(const char* key, const char* value, void* cookie), void* cookie);

__END_DECLS
