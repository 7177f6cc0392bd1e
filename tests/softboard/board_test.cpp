#include "support.h"

namespace {

using test::Bytes;
using test::configure;
using test::numbered;
using test::OpenBoard;
using test::Station;

TEST(Frames, GoOutHalfwordByHalfwordAndComeBackThroughTheDataQueue) {
    configure("[board 0]\n");
    const auto station = std::make_shared<Station>(
        [](const Bytes& frame, const ethernet::FrameSink& sink) { sink(frame.data(), frame.size()); });
    ASSERT_TRUE(softboard::attach(0, 2, station));
    const OpenBoard board;
    board.enable();
    const Bytes sent = numbered(100);
    EXPECT_EQ(board.send(2, sent), 0);
    Bytes back;
    ASSERT_EQ(board.receive(2, back, 10000), 0);
    EXPECT_EQ(back, sent);
    EXPECT_EQ(station->frames(1), std::vector<Bytes>{sent});
}

} // namespace
