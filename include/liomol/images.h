/* Images of a connected camera.
 *
 *     GbeStreamOptions options;
 *     Gbe_initStreamOptions(&options);
 *     Gbe_openStream(camera, &options, &stream);     the camera sends here, in packets that the path carries
 *     Gbe_startAcquisition(camera);
 *     while (Gbe_waitImage(stream, 1000, &image) == GBE_SUCCESS) {
 *         ... image.data, image.width, image.pixelFormatName ...
 *         Gbe_giveBackImage(stream, image.id);
 *     }
 *     Gbe_stopAcquisition(camera);
 *     Gbe_closeStream(stream);
 *
 * An image is borrowed: its bytes lie where the packets were put together, and are the caller's until it is
 * given back. Nothing is copied.
 *
 * Threads: every call may come from any thread at any time. A stream that is closed stays known as closed:
 * calls with it return GBE_ERROR_STREAM_CLOSED. After closing, nothing may be done with the images of a
 * stream; the memory that the library made for them is taken away from the process then, so that who reads it
 * is stopped at once instead of finding other bytes. Memory of the caller's own is the caller's again.
 *
 * The end of a stream: whoever waits for an image is woken, with a status that says why, when the stream is
 * closed (GBE_ERROR_STREAM_CLOSED), the camera disconnected, moved or freed (GBE_ERROR_CAMERA_NOT_CONNECTED),
 * its control lost or its board freed (GBE_ERROR_CONNECTION). From then on waiting returns that status,
 * images that are borrowed stay valid and can be given back, and the stream is still to be closed. A camera
 * that has been connected again gets a stream anew. While the link is gone, the camera unplugged or the
 * interface switched off, waiting returns GBE_ERROR_CONNECTION, too, at once; if it comes back before control
 * is lost, images come again. Images that wait when it goes are still handed out.
 *
 * In a process that was forked every call gives GBE_ERROR_CONNECTION. A board whose library has no image path
 * answers with GBE_ERROR_NOT_IMPLEMENTED. docs/pictures.md tells how an image travels.
 */
#ifndef LIOMOL_IMAGES_H
#define LIOMOL_IMAGES_H

#include "liomol/gige.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Images that come from one camera. Made by Gbe_openStream, ended by Gbe_closeStream. */
typedef struct GbeStream GbeStream;

/* Values of GbeStreamOptions.packetSize besides bytes. */
enum {
    GBE_PACKET_SIZE_AUTO = 0, /* the largest that camera, interfaces and path carry, found by test packets */
    GBE_PACKET_SIZE_KEEP = -1 /* what the camera's register says */
};

/* The most buffers that a stream can have. */
enum { GBE_MOST_BUFFERS = 4096 };

/* How images are to come. The default stands behind the last semicolon, or in brackets. */
typedef struct GbeStreamOptions {
    size_t structSize;   /* set by Gbe_initStreamOptions */
    unsigned buffers;    /* images that can be under way, waiting and borrowed together; 8 */
    void* const* memory; /* `buffers` pieces of bufferSize bytes of the caller's; null: the library's own */
    size_t bufferSize;   /* bytes; 0: from "PayloadSize" (not for memory of the caller's) */
    int dropOldest;  /* with all buffers full: 1 the oldest waiting image goes (default), 0 the arriving */
    int resend;      /* 1: packets that are lost are asked for again where the camera can (default), 0: not */
    int extendedIds; /* 1: 64-bit block ids where the camera has them (default), 0: 16-bit ones */
    int packetSize;  /* bytes with IP, UDP and stream headers, or see above; GBE_PACKET_SIZE_AUTO */
    int packetDelay; /* the camera's ticks between packets; -1: as it is (default) */
    unsigned patienceMs; /* how long an image may wait for a missing packet; 0: 200 ms */
} GbeStreamOptions;

/* Fills in the defaults. GBE_ERROR_ILLEGAL_PARAMETER: null. */
GBE_API int Gbe_initStreamOptions(GbeStreamOptions* options);

/* What of an image has arrived. */
typedef enum GbeImageStatus {
    GBE_IMAGE_COMPLETE = 0,
    GBE_IMAGE_INCOMPLETE = 1,    /* bytes are missing; those are not of this image, whatever they hold */
    GBE_IMAGE_NOT_UNDERSTOOD = 2 /* a payload that is no image: raw bytes */
} GbeImageStatus;

/* Bytes of an image that did not arrive. */
typedef struct GbeMissingBytes {
    uint64_t offset; /* from `data`, bytes */
    uint64_t length; /* bytes */
} GbeMissingBytes;

/* A piece of data that the camera has appended to an image (GenICam SFNC, chunk data). */
typedef struct GbeChunk {
    uint32_t id;      /* as the description has it (ChunkID) */
    const void* data; /* the chunk's bytes, as the camera sent them */
    size_t size;      /* bytes */
} GbeChunk;

/* What the pointers lead to is valid until the image is given back. Missing bytes are those of image and
 * chunks together, as offsets from `data`; chunks are there only when all that tells where they lie has come.
 */
typedef struct GbeImage {
    uint64_t id;                 /* for Gbe_giveBackImage; never used twice */
    const void* data;            /* the first byte of the image */
    size_t size;                 /* bytes of the image itself, without chunks */
    int status;                  /* a GbeImageStatus */
    unsigned payloadType;        /* GigE Vision, as in the leader; 1 is an image, 0x4001 one with chunks */
    unsigned width;              /* pixels */
    unsigned height;             /* lines */
    unsigned offsetX;            /* of the region of interest in the sensor, pixels */
    unsigned offsetY;            /* likewise, lines */
    unsigned paddingX;           /* bytes at the end of each line */
    unsigned paddingY;           /* bytes at the end of the image */
    uint32_t pixelFormat;        /* number of the pixel format naming convention (PFNC) */
    const char* pixelFormatName; /* static; empty for a number that liomol does not know */
    int geometryAssumed;   /* 1: the camera's leader was lost; sizes and format are those of its features */
    int truncated;         /* 1: the camera sent more than the buffer holds */
    uint64_t blockId;      /* the camera's number of the image */
    uint64_t timestamp;    /* the camera's ticks */
    uint64_t timestampNs;  /* the same in nanoseconds; 0 when its tick frequency is not known */
    uint64_t arrivedNs;    /* CLOCK_MONOTONIC when the last packet was fetched, in nanoseconds */
    uint64_t missingBytes; /* all together */
    const GbeMissingBytes* missing; /* ascending; null when nothing is missing */
    size_t missingCount;            /* elements of `missing` */
    const GbeChunk* chunks;         /* in the order of the payload; null without */
    size_t chunkCount;              /* elements of `chunks` */
} GbeImage;

/* Counts since the stream was opened. */
typedef struct GbeStreamStatistics {
    uint64_t packets;          /* of the stream, repeated ones as well */
    uint64_t bytes;            /* of payload */
    uint64_t complete;         /* images */
    uint64_t incomplete;       /* images that were handed out with holes */
    uint64_t lostImages;       /* of which nothing arrived */
    uint64_t droppedArriving;  /* images that found all buffers full */
    uint64_t droppedOldest;    /* images that nobody fetched in time */
    uint64_t missingPackets;   /* that incomplete images lack */
    uint64_t resendRequests;   /* commands to the camera to send packets again */
    uint64_t requestedPackets; /* that they asked for */
    uint64_t resentPackets;    /* that came because of it */
    uint64_t unavailable;      /* packets that the camera does not have any more */
    uint64_t duplicates;       /* packets that had come before */
    uint64_t late;             /* packets of images that had been given up */
    uint64_t malformed;        /* packets that are none of the stream protocol's */
    uint64_t overrun;          /* packets that this computer lost: it was too slow */
    unsigned packetSize;       /* in use, bytes with all headers; 0 when the camera does not tell */
    unsigned buffersFree;      /* now */
    unsigned imagesWaiting;    /* likewise */
} GbeStreamStatistics;

/* Makes the camera send its images to the port, and gets ready for them. The camera must be connected (not
 * for reading alone) and should not be acquiring: it may then refuse another packet size, and keeps its own.
 * One stream a camera; `options` may be null for the defaults.
 * Writes the packet size and delay, the stream's destination and port, and, where the camera has it, the
 * switch of extended block ids (GigE Vision, stream channel registers); all values of features that were read
 * are forgotten. Finding the packet size takes less than a second.
 * Acquisition may be started and stopped at will; Gbe_startAcquisition drops images that wait then. When
 * "PayloadSize" grows, open the stream anew. *stream is null after every failure.
 * GBE_ERROR_ILLEGAL_PARAMETER: null pointer, or options that contradict each other or are out of range.
 * GBE_ERROR_CAMERA_BUSY: the camera has a stream. GBE_ERROR_BUFFER_TOO_SMALL: bufferSize is below
 * "PayloadSize". GBE_ERROR_PORT_NOT_AVAILABLE: the system refuses the port, or its stream is another
 * camera's. GBE_ERROR_NOT_AVAILABLE: no memory for the buffers. GBE_ERROR_NOT_WRITABLE: connected for reading
 * alone. Else as feature calls. */
GBE_API int Gbe_openStream(CameraHandle* camera, const GbeStreamOptions* options, GbeStream** stream);

/* Waits up to timeoutMs milliseconds (-1: without limit, 0: only looks) for the next image; several threads
 * may wait, each image goes to one of them. GBE_ERROR_TIMEOUT: there was none. GBE_ERROR_ILLEGAL_PARAMETER:
 * null pointer, no stream, another negative time. */
GBE_API int Gbe_waitImage(GbeStream* stream, int timeoutMs, GbeImage* image);

/* GBE_ERROR_ILLEGAL_PARAMETER: no image of this stream that is borrowed has that id. */
GBE_API int Gbe_giveBackImage(GbeStream* stream, uint64_t id);

/* Of a stream that has ended, but is not closed, the last counts. */
GBE_API int Gbe_getStreamStatistics(GbeStream* stream, GbeStreamStatistics* statistics);

/* Why nothing arrives, as far as camera and computer tell, in one sentence; empty when nothing is known to be
 * wrong. Asks the camera, and has it send a test packet when nothing else explains the silence; takes up to a
 * second with a camera that answers. Buffer and size are those of Gbe_getValueAsString. */
GBE_API int Gbe_getStreamTrouble(GbeStream* stream, char* buffer, unsigned* size);

/* Closes the camera's stream channel where control is still held. GBE_ERROR_STREAM_CLOSED: it was closed. */
GBE_API int Gbe_closeStream(GbeStream* stream);

/* The forms that Gbe_convertImage makes: bytes of lines without padding. */
typedef enum GbePixels {
    GBE_PIXELS_MONO8 = 0,
    GBE_PIXELS_MONO16 = 1, /* of the machine's byte order, scaled to 16 bits */
    GBE_PIXELS_RGB8 = 2,
    GBE_PIXELS_RGB16 = 3
} GbePixels;

/* Converts an image into `buffer`: Bayer patterns to colour by interpolation, packed formats unpacked, YUV to
 * RGB, colour to grey. Bytes that are missing count as 0. With a null buffer *size becomes the size in bytes;
 * GBE_ERROR_BUFFER_TOO_SMALL does the same and converts nothing. GBE_ERROR_ILLEGAL_PARAMETER: null image or
 * size, no such form. GBE_ERROR_NOT_IMPLEMENTED: a pixel format that liomol does not know, or no image. */
GBE_API int Gbe_convertImage(const GbeImage* image, int pixels, void* buffer, size_t* size);

#ifdef __cplusplus
}
#endif

#endif
