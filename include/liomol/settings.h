/* The features of a camera as a text that people read, edit and keep: saved from a camera, loaded into one,
 * compared. docs/settings-files.md describes the text. Goes with liomol/gige.h, whose rules on results and
 * threads hold here, too.
 *
 * Features that selectors stand around are reached by moving these selectors; they are put back to where they
 * were. Who reads such features through another thread meanwhile sees the selectors move.
 */
#ifndef LIOMOL_SETTINGS_H
#define LIOMOL_SETTINGS_H

#include "liomol/gige.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Options of Gbe_saveSettings, to be combined with `|`. */
enum {
    GBE_SAVE_IDENTITY = 1 /* the heading names the camera's serial number and user-defined name, too */
};

/* Every streamable feature that the camera has at present, in the order of its description, with a NUL behind
 * the last line. Buffer and size are those of Gbe_getValueAsString; a buffer of 256 KiB serves most cameras,
 * and saves reading it twice. A feature that cannot be read, or a selector that cannot be moved (the camera
 * is only looked at), does not end it: a line that begins with "#! " says so.
 * GBE_ERROR_CONNECTION: control of the camera is lost. */
GBE_API int Gbe_saveSettings(CameraHandle* camera, int options, char* buffer, unsigned* size);

/* Options of Gbe_loadSettings, to be combined with `|`. */
enum {
    GBE_LOAD_DRY_RUN = 1, /* tells what would change and changes nothing but, for a moment, selectors */
    GBE_LOAD_VERIFY = 2   /* reads everything back from the camera in the end */
};

/* What has come of the values of a text; they add up: values = same + changed + refused + left. */
typedef struct GbeLoadCounts {
    unsigned values;    /* in the text */
    unsigned same;      /* the camera had them already */
    unsigned changed;   /* set; in a dry run: to be set */
    unsigned refused;   /* could not be set */
    unsigned left;      /* locked, as they were when the text was saved ("?="), and not tried further */
    unsigned different; /* among same and changed: in the end the camera has another value than the text */
} GbeLoadCounts;

/* Sets the camera to a text of `size` bytes: the values in their order, again and again until nothing changes
 * any more, since limits of one feature depend on others. A value that cannot be set does not end it. What
 * the text does not name stays as it is. Features are checked for access and locks whatever Gbe_enableChecks
 * has set.
 * *counts may be null. *report, which may be null, becomes the address of a text with a line for each value
 * that is not as the text says, and why ("line 7: Width: illegal value (-40006)"), in the order of the lines;
 * it is empty when there is none. It stays valid until the thread calls one of the calls of this header
 * again. GBE_ERROR_ILLEGAL_PARAMETER: a null pointer, or a text that is none of settings: nothing was set,
 * and *report says which line is wrong. GBE_ERROR_CONNECTION: control of the camera was lost on the way. */
GBE_API int Gbe_loadSettings(
    CameraHandle* camera, const char* text, unsigned size, int options, GbeLoadCounts* counts,
    const char** report);

/* Compares two texts, or a text with a camera (`b` null: what Gbe_saveSettings gives for it now; otherwise
 * the camera is not used and may be null). *differences becomes the address of a text with a line for each
 * feature that differs: its name, with its place where selectors stand around it ("Gain[GainSelector=Red]"),
 * a tab, its value in `a`, a tab, its value in `b`; empty for a side that does not have it. It is empty when
 * nothing differs, and stays valid as the report of Gbe_loadSettings does. Numbers are compared as numbers.
 * GBE_ERROR_ILLEGAL_PARAMETER: a null pointer, or a text that is none of settings: *differences says which
 * line of which is wrong. With the camera, also what Gbe_saveSettings returns. */
GBE_API int Gbe_compareSettings(
    CameraHandle* camera, const char* a, unsigned sizeOfA, const char* b, unsigned sizeOfB,
    const char** differences);

#ifdef __cplusplus
}
#endif

#endif
