// Reference counts of the host's binders, for the rooms of the host platform: these go past the
// published functions, which a test may replace.
#pragma once

#include <android/binder_ibinder.h>

namespace zelkcam::host {

// One strong reference more; `binder` is not null.
void retain(AIBinder* binder);

// One strong reference less; the last one destroys the user data. `binder` is not null.
void release(AIBinder* binder);

}  // namespace zelkcam::host
