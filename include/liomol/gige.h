/* The C interface of liomol: GigE Vision cameras on the Ethernet ports of a frame grabber board.
 *
 * Every call returns 0 for success and a negative status for failure unless said otherwise; liomol/status.h
 * names the statuses (GbeStatus) and Gbe_getErrorDescription gives their texts. Arguments are checked first,
 * and nothing is changed before the checks have passed.
 *
 * Threads: calls on different cameras may run at the same time, and so may feature calls on one camera, also
 * while it is disconnected, from then on with GBE_ERROR_CAMERA_NOT_CONNECTED. A call that connects,
 * disconnects or moves a handle while another one does (of another thread, or around a listener that calls
 * from inside) gets GBE_ERROR_CAMERA_BUSY and changes nothing; freeing it then takes place at the end of that
 * other call. Connecting again makes all nodes new: no other thread may be inside a feature call of the
 * handle then, nor while it is freed. Scanning a port must not run while commands are in flight on that port.
 *
 * Processes: handles do not survive a fork. In a process that was forked after a board had been opened, calls
 * that need a board, a camera or a device give GBE_ERROR_CONNECTION, and the freeing calls do nothing; a
 * program that it executes starts afresh. Boards may be freed while the process ends, in destructors of
 * static objects, too.
 *
 * Time: a command that the camera does not answer is repeated after 0.1, 0.3 and 0.7 seconds and given up
 * after 2, whatever else arrives meanwhile. An access (a value or a piece of memory read or written, with its
 * repetition and what is looked at between) is given up after 8 seconds, or after 60 when the camera has
 * asked for patience (PENDING_ACK); of memory beyond 536 bytes each such block has this time. A call takes as
 * long as the accesses that it makes: most feature calls make one a register that the feature stands on, and
 * the first that fails ends the call; Gbe_connectCamera and its likes make no more than eight that can fail
 * one after the other. Scanning, PHYs and the service have times of their own, named with the calls.
 *
 * Programs: several programs may work at the same time, on one computer each with cameras of its own. On a
 * network interface they share its ports; a frame grabber's port serves one program at a time, and calls that
 * use it return GBE_ERROR_PORT_NOT_AVAILABLE while another program does.
 */
#ifndef LIOMOL_GIGE_H
#define LIOMOL_GIGE_H

#include "liomol/status.h"

#if defined(__GNUC__)
#define GBE_API __attribute__((visibility("default")))
#else
#define GBE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Boards are numbered from 0 to GBE_BOARDS - 1, and so are the Ethernet ports of each. */
enum { GBE_BOARDS = 8, GBE_PORTS = 4 };

/* A board that an application has opened. Made by Gbe_initBoard, freed by Gbe_freeBoard. */
typedef struct BoardHandle BoardHandle;

/* A camera that an application has picked. Made by the look-up calls, freed by Gbe_freeCamera (and by
 * Gbe_freeBoard while it has not been disconnected). */
typedef struct CameraHandle CameraHandle;

/* A camera's identity, as it told it in its last discovery answer (GigE Vision, DISCOVERY_ACK). 182 bytes
 * without padding. A text that fills its field has no terminating NUL. */
typedef struct CameraInfo {
    char manufacturerName[32]; /* texts in the coding that the camera says elsewhere */
    char modelName[32];        /* of the kind of camera */
    char deviceVersion[32];    /* of hardware or firmware */
    char manufacturerInfo[48]; /* whatever the manufacturer wants to tell */
    char serialNumber[16];     /* empty where a camera has none */
    char userDefinedName[16];  /* the name that its user has given the camera */
    unsigned char mac[6];      /* as sent, most significant byte first */
} CameraInfo;

/* The value of `flags` with which the service process opens a board: the service is not asked for the ports'
 * addresses, and no handle is made. */
#define GBE_SERVICE_MODE 0x47537649

/* The text of a status: static, never null; "unknown error code" for a code that is not a status. */
GBE_API const char* Gbe_getErrorDescription(int code);

/* Why the latest call of this thread that failed did so, as one sentence with facts, beside the text of its
 * status: limits, who locks, what decides, near names, who has the camera, what the camera answered. Empty
 * when there is nothing to tell; never null. It is the thread's own, stays in place as long as the thread
 * lives, and changes with the thread's next failure: look at it before the next call, and only after a call
 * that failed. A call that succeeds may leave it or change it. Sentences are for people and may change; in
 * C++, the exceptions of the faces leave one, too. docs/errors.md lists what is told of each status.
 *     if (Gbe_setIntegerValue(camera, "Width", 1000000) == GBE_ERROR_ILLEGAL_VALUE) {
 *         puts(Gbe_getLastErrorDetail());
 *     }
 * prints "1000000 is not within 16..1920 px in steps of 4". */
GBE_API const char* Gbe_getLastErrorDetail(void);

/* The library's version, "major.minor.patch"; static. */
GBE_API const char* Gbe_getVersion(void);

/* ---- Boards ------------------------------------------------------------------------------------------ */

/* Opens board 0 to 7 and makes a handle for it. A `flags` other than 0 also resets the ports' PHYs, which
 * takes some seconds. The local service must be running, unless flags is GBE_SERVICE_MODE: then 0 is returned
 * and *out stays null. A board that is open already gets one more handle.
 * GBE_ERROR_ILLEGAL_PARAMETER: out is null. GBE_ERROR_BOARD_INITIALIZATION: the board cannot be opened, or
 * the service does not answer. */
GBE_API int Gbe_initBoard(int board, int flags, BoardHandle** out);

/* Frees the cameras that are still reachable from the handle, closes the board and frees the handle. Null is
 * ignored. */
GBE_API void Gbe_freeBoard(BoardHandle* board);

/* Searches one port (0 to 3) or all (-1) for cameras, for about 1.1 to 1.5 seconds. `timeout` is not used.
 * The outcome is read with Gbe_getCameraCount. GBE_ERROR_ILLEGAL_PARAMETER: bad handle or port.
 * GBE_ERROR_PORT_NOT_AVAILABLE: another program uses that port of a frame grabber; of all ports, those are
 * left as they were. */
GBE_API int Gbe_scanNetwork(BoardHandle* board, int port, int timeout);

/* The number of cameras that the last scan found on a port (0 to 64), or GBE_ERROR_ILLEGAL_PARAMETER. */
GBE_API int Gbe_getCameraCount(BoardHandle* board, unsigned port);

/* Whether a port's Ethernet link is up, read from its PHY: *up becomes 1 or 0. For an open board, in whatever
 * way it was opened, without a handle; takes about 0.3 seconds, and waits for another program that is at the
 * board's PHYs. GBE_ERROR_ILLEGAL_PARAMETER: null pointer, board or port out of range.
 * GBE_ERROR_BOARD_DOES_NOT_EXIST: the board is not open. GBE_ERROR_PORT_NOT_AVAILABLE: another program has
 * not let go of the PHYs for 30 seconds. */
GBE_API int Gbe_getLinkState(int board, unsigned port, int* up);

/* A port's own addresses, those that its commands come from: the 6-byte MAC, the IPv4 address and its subnet
 * mask (first octet the lowest byte). Each output may be null. GBE_ERROR_ILLEGAL_PARAMETER: bad handle or
 * port. GBE_ERROR_BOARD_DOES_NOT_EXIST: the board is not open. */
GBE_API int
Gbe_getPortAddress(BoardHandle* board, unsigned port, unsigned char* mac, unsigned* ip, unsigned* mask);

/* The UDP port that a port's commands come from: 3015, or the next free one where other programs of this
 * computer send from the same addresses. GBE_ERROR_ILLEGAL_PARAMETER: bad handle, port or pointer.
 * GBE_ERROR_BOARD_DOES_NOT_EXIST: the board is not open. */
GBE_API int Gbe_getCommandPort(BoardHandle* board, unsigned port, unsigned* udpPort);

/* What the local service does for the ports of all boards; none of the three needs an open board, and each
 * waits for the service's reply, 35 seconds at most. GBE_ERROR_CONNECTION: no service, or no reply. */

/* Has the service look again at the link of a port (0 to 3), at a board and all its ports (port -1), or at
 * everything (board -1, port -1); boards and network interfaces that have appeared since are found. Takes
 * about 0.3 seconds a port. GBE_ERROR_ILLEGAL_PARAMETER: numbers out of range.
 * GBE_ERROR_BOARD_DOES_NOT_EXIST: the service serves no such board, or cannot open it. */
GBE_API int Gbe_rescan(int board, int port);

/* Has the service give a port an IPv4 address in a subnet (first octet the lowest byte) and keep it, also
 * across restarts; boards that are opened from then on use it. GBE_ERROR_ILLEGAL_PARAMETER: numbers out of
 * range, a mask that is none, or the service refuses: no such port, an address that no station can have
 * there, or the service's configuration file gives the port's address. */
GBE_API int Gbe_setPortAddress(int board, unsigned port, unsigned ip, unsigned mask);

/* Asks the service anything: `request` is a line of its protocol (docs/service-protocol.md) without its end,
 * and the lines of the reply go to `reply`, '\n' between them and a NUL behind the last. *size is the room
 * there, and becomes what the reply takes: 1024 bytes are enough for all requests of now.
 * GBE_ERROR_TRANSPORT_LAYER: the service refuses, and the last line says why. GBE_ERROR_CONNECTION: errno
 * tells why: EACCES no right to its socket, ENOENT or ECONNREFUSED it does not run.
 * GBE_ERROR_ILLEGAL_PARAMETER: null pointer, or a line break in the request. GBE_ERROR_BUFFER_TOO_SMALL: no
 * room; the request was carried out. */
GBE_API int Gbe_askService(const char* request, char* reply, unsigned* size);

/* Gives the camera with this MAC address (six bytes) an IPv4 address, a subnet mask and a default gateway (0:
 * none), wherever its present address is: the camera need not be reachable, nor found by a scan. It keeps the
 * address until it is switched off or reset. The first octet is the lowest byte. Waits up to 2 seconds.
 * What the last scan found learns the new address, and look-ups and connections use it at once. An `ip` of 0
 * lets the camera configure itself again, which takes seconds; then only the next scan finds its address.
 * GBE_ERROR_ILLEGAL_PARAMETER: bad handle, port or pointer, an address that no single camera can have or that
 * is the port's own, or a mask that is none. GBE_ERROR_PORT_NOT_AVAILABLE: another program uses the port.
 * GBE_ERROR_BOARD_DOES_NOT_EXIST: the board is not open. GBE_ERROR_CAMERA_BUSY: a connected handle uses the
 * camera, or the camera says that an application controls it. GBE_ERROR_CONNECTION: no acknowledgement came;
 * a scan tells whether the address was taken all the same. GBE_ERROR_TRANSPORT_LAYER: the camera refused. */
GBE_API int Gbe_forceCameraIp(
    BoardHandle* board, unsigned port, const unsigned char* mac, unsigned ip, unsigned mask,
    unsigned gateway);

/* ---- Cameras ----------------------------------------------------------------------------------------- */

/* The look-up calls pick a camera of a port's last scan, mark it as in use and make a handle for it. *out is
 * null after every failure.
 * GBE_ERROR_ILLEGAL_PARAMETER: bad handle, port or pointer. GBE_ERROR_CAMERA_BUSY: the camera is in use in
 * this process. GBE_ERROR_NO_CAMERAS_FOUND: the last scan found none on this port.
 * GBE_ERROR_CAMERA_DOES_NOT_EXIST: none that matches. */

/* The first camera in the order of discovery that is not in use; GBE_ERROR_CAMERA_DOES_NOT_EXIST when all
 * are. */
GBE_API int Gbe_getFirstCamera(BoardHandle* board, unsigned port, CameraHandle** out);

/* By IPv4 address; its first octet is the lowest byte of `ip`. */
GBE_API int Gbe_getCameraByIp(BoardHandle* board, unsigned port, unsigned ip, CameraHandle** out);

/* By MAC address, six bytes. */
GBE_API int
Gbe_getCameraByMac(BoardHandle* board, unsigned port, const unsigned char* mac, CameraHandle** out);

/* By the name that its user gave to it, letter case included. GBE_WARNING_CAMERA_NOT_UNIQUE, with a valid
 * handle, when several cameras bear the name. The camera picked is the last one of the port's list whenever
 * any camera of the list matches: with several cameras on a port prefer the other calls. */
GBE_API int Gbe_getCameraByUserName(BoardHandle* board, unsigned port, const char* name, CameraHandle** out);

/* Makes a fresh CameraInfo of the handle's port's current discovery record. The caller frees it with free().
 * GBE_ERROR_ILLEGAL_PARAMETER: null pointer, or no current record. */
GBE_API int copyCameraInfo(CameraHandle* camera, CameraInfo** out);

/* The handle's own record, which lives as long as the handle; null for a null handle. */
GBE_API CameraInfo* Gbe_getCameraInfo(CameraHandle* camera);

/* The camera's IPv4 address as the last scan of its port found it, or as it was given since; its first octet
 * is the lowest byte of *ip. GBE_ERROR_ILLEGAL_PARAMETER: null pointer. GBE_ERROR_CAMERA_DOES_NOT_EXIST: the
 * last scan did not find the camera. */
GBE_API int Gbe_getCameraIp(CameraHandle* camera, unsigned* ip);

/* Reads one bootstrap register of the camera (GigE Vision, chapter 27), found or connected: it takes no
 * control, and works on a camera that another application controls. The four bytes at `address` are the
 * number *value, most significant byte first. GBE_ERROR_ILLEGAL_PARAMETER: null pointer.
 * GBE_ERROR_CAMERA_DOES_NOT_EXIST: the last scan did not find the camera. GBE_ERROR_CONNECTION: no answer.
 * GBE_ERROR_TRANSPORT_LAYER: the camera refused. */
GBE_API int Gbe_readRegister(CameraHandle* camera, unsigned address, unsigned* value);

/* Takes control of the camera, fetches and builds its description, and keeps control alive from then on.
 * A handle that has lost control of its camera (see Gbe_getControlStatus) is cleaned up and connected again;
 * its features are then those of the description that the camera has now, and none of the old texts is valid.
 * GBE_ERROR_ILLEGAL_PARAMETER: null handle. GBE_ERROR_CAMERA_NOT_CONNECTED (Gbe_connectCamera) or
 * GBE_ERROR_CAMERA_ALREADY_CONNECTED (Gbe_connectCameraWithoutService): connected already.
 * GBE_ERROR_PORT_NOT_AVAILABLE: another connected handle, or another program, uses the port.
 * GBE_ERROR_BOARD_DOES_NOT_EXIST: the board is not open. GBE_ERROR_CAMERA_DOES_NOT_EXIST: neither the port's
 * last scan nor an earlier connection knows the camera. GBE_ERROR_ENVIRONMENT_NOT_SET,
 * GBE_ERROR_FILE_DOES_NOT_EXIST: the description is to come from a file, and TAVODIR5 is not set, or the file
 * is not there. GBE_ERROR_XML_READ: no usable description, or the camera does not answer.
 * GBE_ERROR_CAMERA_BUSY: the camera is in use, in this process, by another program of this computer (before
 * anything is sent; see Gbe_getCameraUser) or by another application, which is told at once and leaves the
 * other one undisturbed. After a failure the handle is not connected. */
GBE_API int Gbe_connectCamera(CameraHandle* camera);
GBE_API int Gbe_connectCameraWithoutService(CameraHandle* camera);

/* Connects without taking control, to look at a camera that somebody else may be working with: fetches and
 * builds its description, writes nothing, sends no heartbeat. Features can be read as far as the camera lets
 * itself be read; calls that write to it return GBE_ERROR_NOT_WRITABLE. Gbe_disconnectCamera ends it; to work
 * with the camera, connect after that. Statuses as of Gbe_connectCameraWithoutService, but
 * GBE_ERROR_CAMERA_BUSY only when the camera is in use in this process, or somebody else has exclusive
 * control of it. */
GBE_API int Gbe_connectCameraForReading(CameraHandle* camera);

/* What a connection takes of the camera. */
typedef enum GbeConnectMode {
    GBE_CONNECT_CONTROL = 0,   /* control; others may read */
    GBE_CONNECT_EXCLUSIVE = 1, /* control, and others may not even read */
    GBE_CONNECT_READ_ONLY = 2, /* nothing: Gbe_connectCameraForReading */
    GBE_CONNECT_REGISTERS = 3  /* control, of a camera whose description is not looked at */
} GbeConnectMode;

/* Connects as Gbe_connectCameraWithoutService does, with the statuses of that call, but with the access that
 * a GbeConnectMode names. GBE_ERROR_ILLEGAL_PARAMETER: null handle, or no such mode. With
 * GBE_CONNECT_EXCLUSIVE the camera refuses the reads of every other application (whoever then connects to it
 * gets GBE_ERROR_CAMERA_BUSY) until the handle is disconnected; moving the handle keeps the mode,
 * Gbe_connectCamera takes plain control again. With GBE_CONNECT_REGISTERS there are no features, only
 * Gbe_readMemory and Gbe_writeMemory, and so cameras can be worked with whose description is of no use. */
GBE_API int Gbe_connectCameraWith(CameraHandle* camera, int mode);

/* How long the camera keeps control for this handle when it hears nothing of it, in milliseconds, 3000 to
 * 3600000; 0 gives the system's own again (15000 while connecting, 8000 from then on). A short one frees the
 * camera soon after a program has died; a long one outlives breaks, as of a debugger or of a cable. For
 * connections that follow and, when the handle controls its camera, for this one, at once. Cameras may round
 * it. Any thread. GBE_ERROR_ILLEGAL_PARAMETER: null handle. GBE_ERROR_ILLEGAL_VALUE: out of range.
 * GBE_ERROR_CONNECTION, GBE_ERROR_TRANSPORT_LAYER: the camera could not be told; the next heartbeat tells it.
 */
GBE_API int Gbe_setHeartbeatTimeout(CameraHandle* camera, unsigned milliseconds);

/* A process that is stopped, by a debugger at a breakpoint or by SIGSTOP, sends no heartbeats. With this,
 * gbe-service keeps its control of the camera meanwhile, for up to `seconds` of each stop, 1 to 3600; 0 ends
 * it (the default). For connections that follow and, when the handle controls its camera, for this one, at
 * once; it lasts as long as the connection has control and the service runs. A stop counts when the whole
 * process stands still, threads that only the debugger halts do not. For cameras on network interfaces: a
 * frame grabber's port has one queue, in which the service cannot send. Any thread; waits for the service.
 *
 * A connection that follows goes on without when the service refuses it; asking again then says why.
 * GBE_ERROR_ILLEGAL_PARAMETER: null handle. GBE_ERROR_ILLEGAL_VALUE: out of range.
 * GBE_ERROR_PORT_NOT_AVAILABLE: the camera's port is no network interface; nothing changes.
 * GBE_ERROR_CONNECTION: the service is not reached. GBE_ERROR_TRANSPORT_LAYER: it refuses, and
 * Gbe_getLastErrorDetail tells what it says. After these two the wish stays for connections that follow. */
GBE_API int Gbe_keepControlWhileStopped(CameraHandle* camera, unsigned seconds);

/* Which program on this computer works with the camera: *pid becomes its process id, and 0 when none does or
 * it cannot be told; its name goes to the `size` bytes of `program` (null when size is 0), cut to fit, with a
 * NUL. Needs no connection and asks nobody but the computer. GBE_ERROR_ILLEGAL_PARAMETER: null pointer. */
GBE_API int Gbe_getCameraUser(CameraHandle* camera, int* pid, char* program, unsigned size);

/* Gives control back. The handle stays the caller's; its board handle does not free it any more. */
GBE_API int Gbe_disconnectCamera(CameraHandle* camera);

/* Moves the handle to another port, on which a scan has found the same camera.
 * GBE_ERROR_ILLEGAL_PARAMETER: bad handle or port. GBE_ERROR_BOARD_DOES_NOT_EXIST: that port has a camera
 * handle already, or its board is not open. GBE_ERROR_PORT_NOT_AVAILABLE: another connected handle uses that
 * port. GBE_ERROR_CAMERA_BUSY: another handle has taken the camera. GBE_ERROR_NO_CAMERAS_FOUND: the last scan
 * found none there. GBE_ERROR_CAMERA_DOES_NOT_EXIST: this camera is not there; the handle is then
 * disconnected at its old place. */
GBE_API int Gbe_switchCameraConnection(CameraHandle* camera, BoardHandle* newBoard, unsigned newPort);
GBE_API int
Gbe_switchCameraConnectionWithoutService(CameraHandle* camera, BoardHandle* newBoard, unsigned newPort);

/* Who controls a camera. */
typedef enum GbeControlHolder {
    GBE_CONTROL_UNKNOWN = 0, /* the camera does not answer */
    GBE_CONTROL_NOBODY = 1,
    GBE_CONTROL_SELF = 2, /* a port of the handle's board */
    GBE_CONTROL_OTHER = 3 /* another application */
} GbeControlHolder;

/* Why a handle does not control its camera. */
typedef enum GbeControlLoss {
    GBE_LOSS_NONE = 0,       /* it does */
    GBE_LOSS_SILENT = 1,     /* the camera did not answer for longer than its heartbeat time-out */
    GBE_LOSS_HEARTBEAT = 2,  /* the camera has dropped control, because it did not hear this host */
    GBE_LOSS_TAKEN_OVER = 3, /* another application has taken control */
    GBE_LOSS_REBOOTED = 4,   /* the camera has restarted */
    GBE_LOSS_NEVER_HELD = 5, /* not connected yet */
    GBE_LOSS_DISCONNECTED = 6
} GbeControlLoss;

/* Who controls a camera, and why the handle does not. */
typedef struct GbeControlStatus {
    int holder;  /* a GbeControlHolder, as the camera tells it now */
    int loss;    /* a GbeControlLoss */
    unsigned ip; /* of the application in control, first octet in the lowest byte; 0 where the camera does not
                    tell (the registers are optional) */
    unsigned port; /* its UDP port, or 0 */
} GbeControlStatus;

/* Asks the camera who controls it, and tells why the handle does not. Needs no connection. While connected,
 * loss is noticed with the next access or heartbeat that a camera refuses, within about a second, or when it
 * has been silent for its heartbeat time-out (15 seconds at first, 8 after the first heartbeat) and the
 * accesses under way have failed; from then on every feature call through the handle returns
 * GBE_ERROR_CONNECTION without speaking to the camera, no heartbeat is sent, and the device emits
 * signal_ControlChanged. Gbe_connectCamera takes control again. A loss that this call sees first counts from
 * then on.
 * Takes up to 4 seconds when the camera is silent. May be called from any thread beside feature calls.
 * GBE_ERROR_ILLEGAL_PARAMETER: null pointer. GBE_ERROR_BOARD_DOES_NOT_EXIST: the board is not open. */
GBE_API int Gbe_getControlStatus(CameraHandle* camera, GbeControlStatus* out);

/* Disconnects if need be and frees the handle with all that belongs to it. Null is ignored. */
GBE_API void Gbe_freeCamera(CameraHandle* camera);

/* ---- Features ---------------------------------------------------------------------------------------- */

/* Features of a connected camera by name; liomol/features.h tells more about each, and when it changes.
 * Common results: GBE_ERROR_ILLEGAL_PARAMETER null handle, name, text or output;
 * GBE_ERROR_CAMERA_NOT_CONNECTED not connected; GBE_ERROR_CONNECTION control of the camera is lost (see
 * Gbe_getControlStatus); GBE_ERROR_ILLEGAL_NODE no feature of that name, or not of that kind;
 * GBE_ERROR_NOT_IMPLEMENTED to GBE_ERROR_ILLEGAL_VALUE, GBE_ERROR_ILLEGAL_REGISTER_LENGTH to
 * GBE_ERROR_TRANSPORT_LAYER as the feature decides. */

GBE_API int Gbe_setIntegerValue(CameraHandle* camera, const char* name, long long value);
GBE_API int Gbe_getIntegerValue(CameraHandle* camera, const char* name, long long* value);
GBE_API int Gbe_setFloatValue(CameraHandle* camera, const char* name, double value);
GBE_API int Gbe_getFloatValue(CameraHandle* camera, const char* name, double* value);
GBE_API int Gbe_setBooleanValue(CameraHandle* camera, const char* name, int value);
GBE_API int Gbe_getBooleanValue(CameraHandle* camera, const char* name, int* value);
GBE_API int Gbe_setStringValue(CameraHandle* camera, const char* name, const char* value);
/* *value belongs to the handle. It stays valid until the next read of this feature's text through this
 * handle, or the end of the connection; so two threads must not read one feature's text through one handle.
 */
GBE_API int Gbe_getStringValue(CameraHandle* camera, const char* name, const char** value);
GBE_API int Gbe_setEnumerationValue(CameraHandle* camera, const char* name, const char* entry);
/* *entry belongs to the handle and stays valid until the end of the connection, whatever is read later. */
GBE_API int Gbe_getEnumerationValue(CameraHandle* camera, const char* name, const char** entry);
GBE_API int Gbe_executeCommand(CameraHandle* camera, const char* name);
/* 1 when the command is done, 0 when it is not, or a negative status. */
GBE_API int Gbe_isCommandDone(CameraHandle* camera, const char* name);

/* Any feature as text, whatever its kind: with a buffer of *size bytes the text is copied with its NUL, and
 * *size becomes what it took. With a null buffer only *size is set. GBE_ERROR_BUFFER_TOO_SMALL: the buffer is
 * too small; nothing is copied and *size becomes the size needed. */
GBE_API int Gbe_getValueAsString(CameraHandle* camera, const char* name, char* buffer, unsigned* size);

/* Which calls serve a feature. A register that is no number and no text, and a category, have a text only. */
typedef enum GbeFeatureKind {
    GBE_KIND_OTHER = 0,
    GBE_KIND_INTEGER = 1,
    GBE_KIND_FLOAT = 2,
    GBE_KIND_BOOLEAN = 3,
    GBE_KIND_STRING = 4,
    GBE_KIND_ENUMERATION = 5,
    GBE_KIND_COMMAND = 6,
    GBE_KIND_CATEGORY = 7,
    GBE_KIND_REGISTER = 8
} GbeFeatureKind;

/* The number of named nodes that the description has, helpers behind the features included, or a negative
 * status. */
GBE_API int Gbe_getFeatureCount(CameraHandle* camera);
/* The name of node `index` in the order of the names; *name stays valid until the end of the connection.
 * GBE_ERROR_ILLEGAL_PARAMETER also when index is not below the count. */
GBE_API int Gbe_getFeatureName(CameraHandle* camera, unsigned index, const char** name);
/* *kind becomes one of GbeFeatureKind. */
GBE_API int Gbe_getFeatureKind(CameraHandle* camera, const char* name, int* kind);

/* Freezes (and thaws) what must not change during an acquisition: the feature "TLParamsLocked". */
GBE_API int Gbe_lockTLParams(CameraHandle* camera);
GBE_API int Gbe_unlockTLParams(CameraHandle* camera);

/* Forgets every value that was read: the next reads go to the camera. Needs no connection; without a
 * description there is nothing to forget. */
GBE_API int Gbe_invalidateCache(CameraHandle* camera);

/* Switches the checks of implementation, availability, lock and access mode on or off; off at first, for each
 * description that a connection loads. Needs no connection. */
GBE_API int Gbe_enableChecks(CameraHandle* camera, int enable);

/* Whether this camera's description is read, and its values computed, as the GenICam standard has it (1)
 * instead of liomol's own way (0, the default). May be called before connecting, and holds for every
 * description that the handle's connections load. On a connected camera the tree of features is built again:
 * names and texts handed out before are no longer valid, and no other call may use the handle meanwhile.
 * docs/standard-behaviour.md lists what differs.
 * GBE_ERROR_ILLEGAL_PARAMETER: null handle. GBE_ERROR_XML_READ: the tree could not be built again. */
GBE_API int Gbe_enableStandardBehaviour(CameraHandle* camera, int enable);

/* What of the connected camera's description liomol's own way reads otherwise than the GenICam standard, as a
 * text of one line each: a count, a blank, and what is counted ("3 String nodes"); empty when nothing
 * differs. docs/standard-behaviour.md explains them. The description is read again for it, which takes about
 * as long as loading it. Buffer and size are those of Gbe_getValueAsString. */
GBE_API int Gbe_getStandardDifferences(CameraHandle* camera, char* buffer, unsigned* size);

/* The description as text. With a null buffer *size becomes its size in bytes with the NUL; with a buffer of
 * *size bytes it is copied. GBE_ERROR_BUFFER_TOO_SMALL: the buffer is too small; *size is left as it was. */
GBE_API int Gbe_getGenICamXML(CameraHandle* camera, char* buffer, unsigned* size);

/* ---- Acquisition ------------------------------------------------------------------------------------- */

/* Tells the board the length of a line from "Width" and "PixelFormat", then executes "AcquisitionStart". */
GBE_API int Gbe_startAcquisition(CameraHandle* camera);
/* Executes "AcquisitionStop". */
GBE_API int Gbe_stopAcquisition(CameraHandle* camera);

/* ---- Diagnostics ------------------------------------------------------------------------------------- */

/* Formats into "log.txt" of the working directory and to standard output. Returns 0. */
GBE_API int lprintf(const char* format, ...);

#ifdef __cplusplus
}
#endif

#endif
