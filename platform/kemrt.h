/* The frame grabber's applet runtime: just the calls that liomol imports.
 *
 * An applet is the FPGA's program together with the names of its registers. All calls may be made from any
 * thread; an applet must not be used after it has been unloaded.
 */
#ifndef KEMRT_H
#define KEMRT_H

#ifdef __cplusplus
extern "C" {
#endif

/* A loaded applet. Opaque; valid from KemFirmwareTrampoline to KemUnloadKemFile. */
typedef struct KemDesign* fpga_design;

/* Loads the applet that matches a firmware version. Null when there is none. */
fpga_design KemFirmwareTrampoline(int major, int minor);

/* Unloads an applet. 0 is success; null is an error. */
int KemUnloadKemFile(fpga_design design);

/* The id of a register, for TavoRegisterRead and TavoRegisterWrite. A name that the applet does not know
 * gives an id that those calls refuse (-1 here). */
int KemGetRegisterByName(fpga_design design, const char* name);

#ifdef __cplusplus
}
#endif

#endif
