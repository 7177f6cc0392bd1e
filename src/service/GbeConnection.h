// One connection to the local service and its lines of text. One thread at a time.
#pragma once

class GbeConnection {
public:
    // The longest line that is received; a peer that sends more without ending it is cut off.
    static constexpr int kMaxLineLength = 64 * 1024;

    // Connects to the socket at `path`; isOpen() tells the outcome.
    explicit GbeConnection(const char* path);
    ~GbeConnection();
    GbeConnection(const GbeConnection&) = delete;
    GbeConnection& operator=(const GbeConnection&) = delete;

    bool isOpen() const { return m_fd >= 0; }
    // Connects, closing an earlier connection: 0, or a negative number with errno telling why.
    int open(const char* path);
    void close();

    // As conn_send, conn_recv and conn_recv_wait of service/socket.h.
    int rawSend(const void* buffer, unsigned length);
    int rawRecv(char* buffer, unsigned length);
    int rawRecvBlocking(char* buffer, unsigned length);

    // Sends the text and a line end: 0, or a negated errno.
    int transmit(const char* line);
    // Waits for one line: its length without the line end, and in *line a new NUL-terminated array that the
    // caller frees with delete[]. -ECONNRESET, with *line null, when the peer has gone or its line is longer
    // than kMaxLineLength (the connection is closed then).
    int receive(char** line);

private:
    int m_fd = -1;
};
