/* What hangs on a port of the frame grabber in software when that is a network interface of Linux, for
   programs that look after the ports. Plain C. The call is in the software board alone: who
   must also run with the hardware's own library looks it up with dlsym. */
#ifndef SOFTBOARD_LINK_REPORT_H
#define SOFTBOARD_LINK_REPORT_H

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
    char interfaceName[16];
    int error; /* 0, or the errno value of what keeps frames from passing: ENODEV no such interface, EPERM no
                  right, EACCES not in the group that has it, ECONNREFUSED refused by who lends it, ENETDOWN
                  switched off, ENOLINK nothing at the other end */
    int up;
    int carrier;
    int mtu;
    unsigned char mac[6];  /* the port's: the configured one, else the interface's */
    unsigned char ipv4[4]; /* the interface's first address in Linux, zeros without one; not the port's own */
    unsigned char netmask[4]; /* of that */
    unsigned long long received;
    unsigned long long sent;
    unsigned long long dropped; /* frames of this process since the boards were made; 0 before */
    char message[200];          /* what `error` means, in one sentence; empty when it is 0 */
} SoftboardLinkReport;

/* 0, and `out` filled, when the port is an interface. Anything else when it is none (or the configuration has
   a mistake); `out` then holds nothing but the message. Works whether the board is open or not, and opens
   none. Any thread. */
__attribute__((visibility("default"))) int
softboard_linkReport(int board, int port, SoftboardLinkReport* out);

#ifdef __cplusplus
}
#endif

#endif
