/* Whether programs on one computer may use an Ethernet port at the same time. The call is no part of the
   hardware's own library: only one whose ports need not be a frame grabber's has it, so that it is looked up
   at run time. A port of a library without it is PORT_EXCLUSIVE. Plain C. */
#ifndef LIOMOL_PLATFORM_PORT_SHARING_H
#define LIOMOL_PLATFORM_PORT_SHARING_H

typedef enum {
    PORT_EXCLUSIVE = 0, /* one queue for all that use it: one program at a time */
    PORT_SHARED = 1,    /* a network interface: each program gets what is for its own UDP port */
    PORT_PRIVATE = 2    /* every process has a port of its own; what it does concerns nobody else */
} TavoPortSharing;

#define LIOMOL_PORT_SHARING_CALL "softboard_portSharing"
/* Any thread, whether the board is open or not. `board` is 0 to 7, `port` 0 to 3. */
typedef int (*TavoPortSharingCall)(int board, int port);

#endif
