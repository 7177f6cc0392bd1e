/* What goes over the ports, for tools that watch it: figures of each port and camera, of this program and of
 * all others on this computer, and the frames themselves.
 */
#ifndef LIOMOL_DIAGNOSTICS_H
#define LIOMOL_DIAGNOSTICS_H

#include "liomol/gige.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What a program does with the camera of a port. */
typedef enum GbeLinkUse {
    GBE_LINK_FREE = 0,    /* the port has no connected camera */
    GBE_LINK_CONTROL = 1, /* it works with the camera */
    GBE_LINK_READING = 2, /* connected for reading alone */
    GBE_LINK_LOST = 3     /* control is lost, and was not taken again */
} GbeLinkUse;

/* Figures of one port as one program uses it, since that program opened the board first; connecting and
 * closing do not set them back. Times are nanoseconds, ages count from now. Each figure is exact, all of them
 * together are of about the same moment. */
typedef struct GbeLinkStatistics {
    int pid;                  /* of the program */
    char program[32];         /* its name, printable ASCII, with a NUL */
    int board;                /* 0 to 7 */
    unsigned port;            /* 0 to 3 */
    int use;                  /* a GbeLinkUse */
    unsigned char mac[6];     /* of the connected camera, most significant byte first; zeros without */
    unsigned char streamOpen; /* 1: the program has an image stream open */
    uint64_t framesSent;      /* all frames that the program's commands and ARP answers took */
    uint64_t framesReceived;  /* all frames that the port gave the program */
    uint64_t commands;        /* GVCP commands */
    uint64_t repeated;        /* commands that went out again, because of silence or of a foreign answer */
    uint64_t unanswered;      /* commands that were given up */
    uint64_t refused;         /* commands that were answered with another status than success */
    uint64_t roundTrips;  /* commands whose round trip was measured: answered without having been repeated */
    uint64_t roundTripNs; /* of all of these together */
    uint64_t lastRoundTripNs;    /* of the latest of them */
    uint64_t longestRoundTripNs; /* of the slowest of them */
    uint64_t answerAgeNs;        /* since the latest answer; UINT64_MAX: there was none */
    uint64_t heartbeats;         /* that were sent */
    uint64_t heartbeatAgeNs; /* since the camera answered the latest heartbeat; UINT64_MAX: there was none */
    /* Of the port's image streams, at most half a second old while one is open: whether the program
     * asks for images or not, as long as it has control of the camera. */
    uint64_t images;         /* that were handed out, those with holes too */
    uint64_t imageBytes;     /* of these */
    uint64_t imagesBroken;   /* of these, with holes */
    uint64_t streamPackets;  /* the rest as in GbeStreamStatistics */
    uint64_t imagesLost;     /* lostImages there */
    uint64_t imagesDropped;  /* arriving and oldest ones together */
    uint64_t missingPackets; /* likewise */
    uint64_t resentPackets;  /* likewise */
    uint64_t overrun;        /* likewise */
} GbeLinkStatistics;

/* The figures of the camera's port in this program. While the camera is connected nothing but its handle, and
 * scans, use the port. Needs no connection, waits for nothing, asks nobody; any thread.
 * GBE_ERROR_ILLEGAL_PARAMETER: null pointer. */
GBE_API int Gbe_getLinkStatistics(CameraHandle* camera, GbeLinkStatistics* out);

/* The same of all ports in all programs on this computer that have opened a board, this one included, as far
 * as their user lets this one see it: programs publish their figures beside the locks that they share (in the
 * folder of the service for all who may talk to it, else in the user's own). What programs of other users
 * claim there is not checked; names and numbers are at least well-formed. Ports that never had a frame are
 * left out.
 * *count is the room in `out`, and becomes the number that there are; as many as fit are written. `out` may
 * be null when *count is 0. In no order but that those of one program follow each other. Needs no board and
 * no service. GBE_ERROR_ILLEGAL_PARAMETER: null pointer. */
GBE_API int Gbe_getAllLinkStatistics(GbeLinkStatistics* out, unsigned* count);

/* Called with each Ethernet frame that a board sends (`sent` 1) or receives (0) through this library: control
 * traffic, not the packets of image streams. `frame` is valid during the call. It comes on the thread that
 * speaks to the camera, with the port locked: a listener must be quick, and must not call the library. */
typedef void (*GbeFrameListener)(
    void* user, int board, unsigned port, int sent, const void* frame, unsigned length);

/* Has `listener` hear all frames of this process from now on, in place of an earlier one; null: nobody does.
 * When it returns, the earlier one is not called any more. May be called from any thread but a listener's
 * call. Returns 0. */
GBE_API int Gbe_setFrameListener(GbeFrameListener listener, void* user);

#ifdef __cplusplus
}
#endif

#endif
