/* The image path of a port: images out of a camera's stream, in memory of the caller's. A frame grabber fills
   it by DMA; the board in software does the same work on a processor. It is no part of the hardware's own
   library, so that it is looked up at run time (LIOMOL_IMAGE_PATH_CALL). Plain C.

   The library makes the camera send to the port's image port; the path takes the packets, puts the images
   together, and asks the camera for lost packets again where that is wished and possible. */
#ifndef LIOMOL_PLATFORM_IMAGE_PATH_H
#define LIOMOL_PLATFORM_IMAGE_PATH_H

#include <stddef.h>
#include <stdint.h>

typedef struct TavoImageStream TavoImageStream;

/* Results. */
enum {
    IMAGE_PATH_OK = 0,
    IMAGE_PATH_TIMEOUT = 1,      /* no image within the time */
    IMAGE_PATH_WOKEN = 2,        /* wake() was called */
    IMAGE_PATH_BAD_ARGUMENT = 3, /* or a buffer that is not borrowed */
    IMAGE_PATH_NO_PORT = 4,      /* the board is closed, or has no such port */
    IMAGE_PATH_BUSY = 5,         /* the port has a stream already */
    IMAGE_PATH_NO_MEMORY = 6,
    IMAGE_PATH_NO_RIGHT = 7, /* the system refuses the socket */
    IMAGE_PATH_LINK_GONE = 8 /* the interface was removed or switched off, the camera unplugged */
};

typedef struct {
    int board;
    int port;
    uint8_t cameraMac[6];
    uint8_t cameraIp[4]; /* packets of others are not the stream's */
    uint8_t hostMac[6];
    uint8_t hostIp[4];
    uint16_t udpPort; /* where the stream arrives: the value of the port's ImagePort */
    unsigned buffers; /* at least 1 */
    void* const*
        memory; /* `buffers` pieces of bufferSize bytes; the caller's for as long as the stream is open */
    size_t bufferSize;
    size_t payloadSize;  /* of an image, at most bufferSize */
    uint32_t packetSize; /* as in the camera's register; 0 when not known */
    /* What an image whose leader is lost is taken for. */
    uint32_t pixelFormat, width, height, offsetX, offsetY;
    int dropOldest; /* with all buffers full: 1 the oldest waiting image goes, 0 the arriving one */
    int resend;     /* 1: the camera can send packets again, and shall */
    uint32_t
        firstWishUs; /* how long a gap may last before it is asked for; 0: the path's own choice, and so on */
    uint32_t nextWishUs;
    uint32_t mostWishes;
    uint32_t patienceMs;
} TavoImageSettings;

typedef struct {
    uint64_t offset;
    uint64_t length;
} TavoMissing;

typedef struct {
    unsigned buffer; /* its number; it is the caller's until giveBack() */
    size_t size;     /* bytes of payload */
    uint64_t block;
    uint64_t timestamp;      /* the camera's ticks */
    uint64_t arrivedNs;      /* CLOCK_MONOTONIC when the last packet was fetched, in nanoseconds */
    uint16_t payloadType;    /* as in the leader */
    uint8_t status;          /* 0 complete, 1 incomplete, 2 a payload that is not understood: raw bytes */
    uint8_t geometryAssumed; /* the leader was lost */
    uint8_t truncated;       /* the payload was longer than the buffer */
    uint32_t pixelFormat, width, height, offsetX, offsetY;
    uint16_t paddingX, paddingY;
    uint64_t missingBytes;
    const TavoMissing* missing; /* valid until giveBack() */
    size_t missingCount;
} TavoImage;

typedef struct {
    uint64_t packets, bytes, complete, incomplete, lostBlocks, droppedArriving, droppedOldest, missingPackets;
    uint64_t wishes, wishedPackets, resentPackets, unavailable, duplicates, late, malformed;
    uint64_t testPackets, largestTestPacket; /* the size as it counts in the packet size register */
    uint64_t overrun;                    /* packets that the system lost because nobody took them in time */
    unsigned buffersFree, imagesWaiting; /* now */
} TavoImageStatistics;

#define LIOMOL_IMAGE_PATH_VERSION 1
#define LIOMOL_IMAGE_PATH_CALL "tavo_imagePath"

/* All calls may come from any thread; close() once, when no other call of the stream is under way. */
typedef struct {
    unsigned version;
    int (*open)(const TavoImageSettings* settings, TavoImageStream** stream);
    /* Waits up to timeoutMs (-1: without limit, 0: only looks) for the next image. Several threads may wait;
       each image goes to one of them. */
    int (*wait)(TavoImageStream* stream, int timeoutMs, TavoImage* image);
    int (*giveBack)(TavoImageStream* stream, unsigned buffer);
    /* Every wait() under way and to come returns IMAGE_PATH_WOKEN. */
    void (*wake)(TavoImageStream* stream);
    /* The camera starts anew: what is under way or waits is dropped, and images are of this size and shape.
     */
    int (*restart)(TavoImageStream* stream, const TavoImageSettings* settings);
    void (*statistics)(TavoImageStream* stream, TavoImageStatistics* out);
    /* No byte of the caller's memory is touched when it returns. */
    void (*close)(TavoImageStream* stream);
} TavoImagePath;

/* Null when the path has no such version. */
typedef const TavoImagePath* (*TavoImagePathCall)(unsigned version);

#endif
