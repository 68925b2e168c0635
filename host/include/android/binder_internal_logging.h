// syslog for the inline parts of the binder headers. Its macro LOG_PRI is kept out of the way of
// the Android log's macro of that name.
#pragma once

#pragma push_macro("LOG_PRI")
#undef LOG_PRI
#include <syslog.h>
#undef LOG_PRI
#pragma pop_macro("LOG_PRI")
