// Parcels: the flattened arguments of a remote call. There are no remote binders on this host,
// hence no parcel ever exists and only its release is offered.
#pragma once

#include <sys/cdefs.h>

#include <android/binder_status.h>

struct AIBinder;
typedef struct AIBinder AIBinder;

__BEGIN_DECLS

struct AParcel;
typedef struct AParcel AParcel;

// Null is allowed.
void AParcel_delete(AParcel* _Nullable parcel) __INTRODUCED_IN(29);

__END_DECLS
