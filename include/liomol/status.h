/* The statuses that the calls of liomol/gige.h return, and that the C++ exceptions carry: one table.
 *
 * A row: the enumerator, its name inside the library, its number, and its text (Gbe_getErrorDescription).
 * The numbers and texts never change; a new status gets a new number.
 */
#ifndef LIOMOL_STATUS_H
#define LIOMOL_STATUS_H

/* clang-format off */
#define GBE_STATUS_TABLE(X) \
    X(GBE_SUCCESS,                          Success,                0,      "success") \
    X(GBE_ERROR_NOT_IMPLEMENTED,            NotImplemented,         -40001, "feature not implemented") \
    X(GBE_ERROR_NOT_AVAILABLE,              NotAvailable,           -40002, "feature not available") \
    X(GBE_ERROR_LOCKED,                     Locked,                 -40003, "feature locked") \
    X(GBE_ERROR_NOT_READABLE,               NotReadable,            -40004, "feature not readable") \
    X(GBE_ERROR_NOT_WRITABLE,               NotWritable,            -40005, "feature not writable") \
    X(GBE_ERROR_ILLEGAL_VALUE,              IllegalValue,           -40006, "illegal value") \
    X(GBE_ERROR_ILLEGAL_NODE,               IllegalNode,            -40007, "illegal node") \
    X(GBE_ERROR_ILLEGAL_REGISTER_LENGTH,    IllegalRegisterLength,  -40008, "illegal register length") \
    X(GBE_ERROR_MATH,                       MathError,              -40009, "math error") \
    X(GBE_ERROR_PORT_NOT_AVAILABLE,         PortNotAvailable,       -40010, "port not available") \
    X(GBE_ERROR_TRANSPORT_LAYER,            TransportLayer,         -40011, "transport layer exception") \
    X(GBE_ERROR_CONNECTION,                 Connection,             -40012, "camera/service connection exception") \
    X(GBE_ERROR_ENVIRONMENT_NOT_SET,        EnvironmentNotSet,      -40013, "environment not set") \
    X(GBE_ERROR_FILE_DOES_NOT_EXIST,        FileDoesNotExist,       -40014, "file does not exist") \
    X(GBE_ERROR_ILLEGAL_PARAMETER,          IllegalParameter,       -40015, "illegal parameter") \
    X(GBE_ERROR_CAMERA_NOT_CONNECTED,       CameraNotConnected,     -40016, "camera not connected") \
    X(GBE_ERROR_CAMERA_ALREADY_CONNECTED,   CameraAlreadyConnected, -40017, "camera already connected") \
    X(GBE_ERROR_BOARD_INITIALIZATION,       BoardInitialization,    -40018, "board initialization error") \
    X(GBE_ERROR_BOARD_DOES_NOT_EXIST,       BoardDoesNotExist,      -40019, "board does not exist") \
    X(GBE_ERROR_XML_READ,                   XmlRead,                -40020, "xml read exception") \
    X(GBE_ERROR_SERVICE_CONNECTION,         ServiceConnection,      -40021, "service connection error") \
    X(GBE_ERROR_CAMERA_BUSY,                CameraBusy,             -40022, "camera busy") \
    X(GBE_ERROR_NO_CAMERAS_FOUND,           NoCamerasFound,         -40023, "no cameras found") \
    X(GBE_ERROR_CAMERA_DOES_NOT_EXIST,      CameraDoesNotExist,     -40024, "camera does not exist") \
    X(GBE_ERROR_BUFFER_TOO_SMALL,           BufferTooSmall,         -40025, "buffer too small") \
    X(GBE_ERROR_TIMEOUT,                    Timeout,                -40026, "no image in time") \
    X(GBE_ERROR_STREAM_CLOSED,              StreamClosed,           -40027, "stream closed") \
    X(GBE_WARNING_CAMERA_NOT_UNIQUE,        CameraNotUnique,        -41000, "selected camera is not unique (warning)")
/* clang-format on */

#define GBE_STATUS_ENUMERATOR(enumerator, name, code, text) enumerator = code,
/* 0, or what went wrong. */
typedef enum GbeStatus { GBE_STATUS_TABLE(GBE_STATUS_ENUMERATOR) } GbeStatus;
#undef GBE_STATUS_ENUMERATOR

#endif
