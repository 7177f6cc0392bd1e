/* What can be asked about a feature beside its value: what it is, what may be done with it now, its limits
 * and texts, its neighbours, its bytes; and calls back when it changes. Goes with liomol/gige.h, whose rules
 * on results and threads hold here, too: the common results are those of the feature calls there.
 */
#ifndef LIOMOL_FEATURES_H
#define LIOMOL_FEATURES_H

#include "liomol/gige.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- What a feature is ------------------------------------------------------------------------------- */

/* What may be done with a feature at present; a lock is told beside it. */
typedef enum GbeAccess {
    GBE_ACCESS_NONE = 0, /* a kind without a value */
    GBE_ACCESS_READ_ONLY = 1,
    GBE_ACCESS_WRITE_ONLY = 2,
    GBE_ACCESS_READ_WRITE = 3,
    GBE_ACCESS_NOT_AVAILABLE = 4,  /* not with the camera's present settings */
    GBE_ACCESS_NOT_IMPLEMENTED = 5 /* not on this camera */
} GbeAccess;

/* For whom a feature is meant. */
typedef enum GbeVisibility {
    GBE_VISIBILITY_NOT_GIVEN = 0,
    GBE_VISIBILITY_BEGINNER = 1,
    GBE_VISIBILITY_EXPERT = 2,
    GBE_VISIBILITY_GURU = 3,
    GBE_VISIBILITY_INVISIBLE = 4
} GbeVisibility;

/* How a number is best shown. */
typedef enum GbeRepresentation {
    GBE_REPRESENTATION_NOT_GIVEN = 0,
    GBE_REPRESENTATION_LINEAR = 1,
    GBE_REPRESENTATION_LOGARITHMIC = 2,
    GBE_REPRESENTATION_BOOLEAN = 3,
    GBE_REPRESENTATION_PURE_NUMBER = 4,
    GBE_REPRESENTATION_HEX_NUMBER = 5,
    GBE_REPRESENTATION_IPV4_ADDRESS = 6, /* of the lowest 32 bits, the first byte on top */
    GBE_REPRESENTATION_MAC_ADDRESS = 7   /* of the lowest 48 bits, the first byte on top */
} GbeRepresentation;

/* What a feature is, and what may be done with it now. */
typedef struct GbeFeatureInfo {
    int kind;           /* a GbeFeatureKind */
    int access;         /* a GbeAccess */
    int locked;         /* 1 while the feature must not be written */
    int visibility;     /* a GbeVisibility */
    int representation; /* a GbeRepresentation; of integers and floats */
    int streamable;     /* 1 when its value belongs into a stored configuration of the camera */
    int selector;       /* 1 when it selects other features (GBE_LIST_SELECTED) */
} GbeFeatureInfo;

/* Access and lock are those of now, and may be read from the camera; what the other features that decide them
 * give as an error, this call gives. */
GBE_API int Gbe_getFeatureInfo(CameraHandle* camera, const char* name, GbeFeatureInfo* out);

/* The texts of a description about a feature; each may be empty. */
typedef enum GbeFeatureText {
    GBE_TEXT_DISPLAY_NAME = 0,
    GBE_TEXT_TOOL_TIP = 1,
    GBE_TEXT_DESCRIPTION = 2,
    GBE_TEXT_UNIT = 3,      /* of integers and floats */
    GBE_TEXT_NAMESPACE = 4, /* "Standard" or "Custom" */
    GBE_TEXT_EVENT_ID = 5   /* hexadecimal digits */
} GbeFeatureText;

/* `which` is a GbeFeatureText. *text stays valid until the end of the connection. GBE_ERROR_ILLEGAL_PARAMETER
 * also for another `which`. */
GBE_API int Gbe_getFeatureText(CameraHandle* camera, const char* name, int which, const char** text);

/* The limits of now, which may be read from the camera. A null output is not asked for. An increment of 1
 * allows all values. */
GBE_API int Gbe_getIntegerLimits(
    CameraHandle* camera, const char* name, long long* min, long long* max, long long* increment);
GBE_API int Gbe_getFloatLimits(CameraHandle* camera, const char* name, double* min, double* max);
/* The most bytes that a text may have, without a NUL. */
GBE_API int Gbe_getStringLimit(CameraHandle* camera, const char* name, long long* length);
/* The number behind an entry of an enumeration. GBE_ERROR_ILLEGAL_VALUE: there is no such entry. */
GBE_API int Gbe_getEntryValue(CameraHandle* camera, const char* name, const char* entry, long long* value);

/* ---- Its neighbours ---------------------------------------------------------------------------------- */

/* Lists of names that go with a feature. */
typedef enum GbeFeatureList {
    GBE_LIST_ENTRIES = 0,           /* of an enumeration, in the order of the description */
    GBE_LIST_AVAILABLE_ENTRIES = 1, /* those of them that may be set now */
    GBE_LIST_SELECTED = 2,          /* the features that an integer or an enumeration selects */
    GBE_LIST_SELECTING = 3,         /* the features that select this one, in the order of their names */
    GBE_LIST_MEMBERS = 4            /* of a category, in the order of the description */
} GbeFeatureList;

/* The names of a list: each ends with a NUL, and an empty one ends the list, so that
 *     for (name = buffer; *name != 0; name += strlen(name) + 1)
 * meets them all. With a buffer of *size bytes the list is copied and *size becomes what it took; with a null
 * buffer only *size is set. GBE_ERROR_BUFFER_TOO_SMALL: the buffer is too small; nothing is copied and *size
 * becomes the size needed. GBE_ERROR_ILLEGAL_PARAMETER also for another `list`; GBE_ERROR_ILLEGAL_NODE also
 * for a list that the feature's kind does not have. */
GBE_API int
Gbe_getFeatureList(CameraHandle* camera, const char* name, int list, char* buffer, unsigned* size);

/* ---- Its bytes, and the camera's --------------------------------------------------------------------- */

/* Where in camera memory a feature of a register lies now, and its length in bytes. Each output may be null.
 */
GBE_API int
Gbe_getRegisterPlace(CameraHandle* camera, const char* name, long long* address, long long* length);

/* All bytes of a feature's register, in the order of their addresses. Buffer and size are those of
 * Gbe_getFeatureList. */
GBE_API int Gbe_getRegisterBytes(CameraHandle* camera, const char* name, void* buffer, unsigned* size);
/* GBE_ERROR_ILLEGAL_REGISTER_LENGTH: `size` is not the register's length; nothing is written. */
GBE_API int Gbe_setRegisterBytes(CameraHandle* camera, const char* name, const void* bytes, unsigned size);

/* `size` bytes of the memory of a connected camera, in the order of their addresses; 4 bytes go as a
 * register, everything else as memory. Address and size should be multiples of 4: what a camera answers to
 * others is its own affair, and such a size is not written. Features keep what they have read before;
 * Gbe_invalidateCache makes them look again. After a failed write of more than 512 bytes a part of them may
 * be written. GBE_ERROR_ILLEGAL_PARAMETER: null pointer, or a range that leaves the 32 bits of an address.
 * GBE_ERROR_TRANSPORT_LAYER: the camera refused, or does not answer. */
GBE_API int Gbe_readMemory(CameraHandle* camera, unsigned address, void* buffer, unsigned size);
GBE_API int Gbe_writeMemory(CameraHandle* camera, unsigned address, const void* bytes, unsigned size);

/* ---- Many at once ------------------------------------------------------------------------------------ */

/* Reads ahead what the features of `count` names, or with null `names` all features, need of the camera:
 * their access, lock, value and limits, and what these depend on. Many registers are read with each command,
 * as far as the camera takes that, so that this takes a few round trips where reading the features one by one
 * takes one each; the calls that ask for them afterwards are then answered from the cache, as if each
 * register had been read by its first reader: the same values, invalidated by the same writes, with polling
 * times that count from here. What those calls would not read (of a feature that is not available or
 * write-only, for one) is not read here either. Registers that the description wants read at each access are
 * left to these, and so are those that could not be read: the call that needs one tells why. Like the other
 * feature calls it may be called by any thread; those of other threads come in between.
 * GBE_ERROR_ILLEGAL_PARAMETER: null handle, or a null name. GBE_ERROR_ILLEGAL_NODE: no feature has one of the
 * names; nothing is read. Otherwise 0, or what keeps every feature from being read (control is lost, say). */
GBE_API int Gbe_prefetch(CameraHandle* camera, const char* const* names, unsigned count);

/* ---- Changes ----------------------------------------------------------------------------------------- */

/* What of a feature has changed. */
typedef enum GbeChange {
    GBE_CHANGE_VALUE = 0, /* its value; a command: whether it is done */
    GBE_CHANGE_LIMITS = 1,
    GBE_CHANGE_STATE = 2 /* whether it is implemented, available or locked */
} GbeChange;

/* `change` is a GbeChange; `name` and `user` are those of Gbe_watchFeature. */
typedef void (*GbeFeatureCallback)(CameraHandle* camera, const char* name, int change, void* user);

/* Has `callback` called whenever the feature has changed, whoever changed it, in place of an earlier callback
 * of the feature; with a null callback no more. Once the call has returned, the earlier callback does not run
 * any more, unless it is the caller.
 * Callbacks run on one thread of the device, one after another, some time after the change; changes that
 * follow one another quickly may be told as one. A callback may use the feature calls. A watch ends with the
 * connection, and when Gbe_enableStandardBehaviour builds the features again. */
GBE_API int Gbe_watchFeature(CameraHandle* camera, const char* name, GbeFeatureCallback callback, void* user);

/* `loss` is a GbeControlLoss. */
typedef void (*GbeControlCallback)(CameraHandle* camera, int loss, void* user);

/* The same for control of the camera: called when it is lost, or lost for another reason. */
GBE_API int Gbe_watchControl(CameraHandle* camera, GbeControlCallback callback, void* user);

#ifdef __cplusplus
}
#endif

#endif
