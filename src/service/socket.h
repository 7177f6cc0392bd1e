// UNIX-domain stream sockets as plain descriptors. Interrupted calls go on; a peer that has gone never raises
// SIGPIPE. Different descriptors may be used from different threads.
#pragma once

// A socket connected to `path`. On failure a negative number, with errno telling why (ENAMETOOLONG for a path
// that a socket address cannot hold).
int conn_service(const char* path);

// Sends all of the buffer, waiting as long as the peer takes: 0, or the negated errno.
int conn_send(int fd, const void* buffer, unsigned length);

// Takes up to `length` bytes that have arrived, without waiting; the number of bytes taken.
int conn_recv(int fd, char* buffer, unsigned length);

// Waits until exactly `length` bytes have arrived: 0, or -1 at the end of the stream and on errors.
int conn_recv_wait(int fd, char* buffer, unsigned length);

void conn_close(int fd);
