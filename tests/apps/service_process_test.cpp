// gbe-service as a real process, with the default board in software.
#include "process.h"
#include "support/write_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QtCore/QFile>

#include <memory>
#include <vector>

namespace {

using test::RawClient;
using test::ServiceProcess;
using testing::HasSubstr;
using testing::MatchesRegex;

const QStringList kOneBoard{"--boards", "0"};

// One service for all tests that leave it as it was. Another one was killed before: its socket is replaced,
// and the address that it was given is kept.
class RunningService : public testing::Test {
protected:
    static void SetUpTestSuite() {
        writeFile(
            "config",
            "boards = 0,5\nidle-limit = 2\n[board 0 port 2]\nmac = 02:00:00:00:00:12\nip = 10.0.0.1\n");
        ServiceProcess killed(kOneBoard);
        ASSERT_TRUE(killed.answers());
        EXPECT_EQ(RawClient().ask("CONFIGURE BOARD 0 PORT 1 IP 10.1.2.3/16"), "200 OK\n");
        killed.stop(SIGKILL);
        ASSERT_TRUE(QFile::exists(LIOMOL_SERVICE_SOCKET));
        s_service = std::make_unique<ServiceProcess>(QStringList{"--config", "config"});
        ASSERT_TRUE(s_service->answers());
        ASSERT_THAT(RawClient().ask("STATUS BOARD 0 PORT 3"), HasSubstr("200 OK\n")) << "open by now";
    }
    static void TearDownTestSuite() {
        ASSERT_TRUE(s_service->program().running());
        const test::Outcome outcome = s_service->stop();
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "gbe-service: board 5: " + test::fault(GBE_ERROR_BOARD_INITIALIZATION));
        EXPECT_FALSE(QFile::exists(LIOMOL_SERVICE_SOCKET));
        QFile::remove("state");
        s_service.reset();
    }
    void TearDown() override { EXPECT_TRUE(test::serviceAnswers()) << "still there after the test"; }

    static inline std::unique_ptr<ServiceProcess> s_service;
};

TEST_F(RunningService, AnswersEveryRequest) {
    const std::string mac = "02(:[0-9a-f][0-9a-f]){5}";
    const struct {
        const char* request;
        std::string reply;
    } rows[] = {
        {"STATUS BOARD 0 PORT 0", "200-PORT 0 MAC " + mac + "\n200-PORT 0 up\n200 OK\n"},
        {"STATUS BOARD 0 PORT 1", "200-PORT 1 MAC " + mac +
                                      "\n200-PORT 1 down\n200-PORT 1 IP 10.1.2.3\n"
                                      "200-PORT 1 MASK 255.255.0.0\n200 OK\n"},
        {"STATUS BOARD 0 PORT 2",
         "200-PORT 2 MAC 02:00:00:00:00:12\n200-PORT 2 down\n200-PORT 2 IP 10.0.0.1\n"
         "200-PORT 2 MASK 255.255.255.0\n200 OK\n"},
        {"STATUS BOARD 1 PORT 0", "510 no such port\n"},
        {"STATUS BOARD 5 PORT 0", "510 board 5 cannot be opened\n"},
        {"RESCAN", "200 OK\n"},
        {"RESCAN BOARD 0 PORT 4", "510 no such port\n"},
        {"CONFIGURE BOARD 0 PORT 1 IP 127.0.0.1", "510 not an IPv4 address of a station\n"},
        {"CONFIGURE BOARD 0 PORT 2 IP 10.0.0.9", "510 the configuration file gives this port's address\n"},
        {"OPEN BOARD 0 PORT 2", "200-BOARD 0 PORT 2 MAC 02:00:00:00:00:12\n200 OK\n"},
        {"OPEN BOARD 1 PORT 0", "410 no such port\n"},
        {"OPEN MAC 02:00:00:00:00:12", "200-BOARD 0 PORT 2 MAC 02:00:00:00:00:12\n200 OK\n"},
        {"", "510 unknown request\n"},
    };
    RawClient client;
    for (const auto& row : rows) {
        EXPECT_THAT(client.ask(row.request), MatchesRegex(row.reply)) << row.request;
    }
}

TEST_F(RunningService, ALookInProgressHoldsUpNobodyElse) {
    RawClient rescan;
    RawClient other;
    const auto isHeldUp = [&] {
        EXPECT_TRUE(rescan.send("RESCAN\n"));
        EXPECT_THAT(other.ask("STATUS BOARD 0 PORT 0"), HasSubstr("200 OK"));
        char byte = 0;
        const bool isOver = recv(rescan.fd(), &byte, 1, MSG_DONTWAIT | MSG_PEEK) == 1;
        EXPECT_EQ(rescan.reply(), "200 OK\n");
        return isOver;
    };
    bool always = true; // a busy machine may be slower than the 1.2 s of a look
    for (int round = 0; round < 10 && always; ++round) {
        always = isHeldUp();
    }
    EXPECT_FALSE(always);
}

TEST_F(RunningService, CutsOffALineWithoutEnd) {
    RawClient client;
    EXPECT_TRUE(client.send(std::string(65536, 'x') + "\n"));
    EXPECT_EQ(client.reply(), "510 unknown request\n") << "just not too long";
    client.send(std::string(200000, 'x')); // may fail once the service has closed
    EXPECT_EQ(client.reply(), "510 line too long\n");
    EXPECT_EQ(client.line(), "") << "closed";
}

TEST_F(RunningService, SurvivesClientsThatVanish) {
    for (const char* last : {"", "COUNT", "COUNT BOARDS\n", "RESCAN\n", "RESCAN\nRESCAN\nCOUNT BOARDS\n"}) {
        for (int i = 0; i < 20; ++i) {
            RawClient client;
            EXPECT_TRUE(client.send(last));
        }
    }
    RawClient half;
    ASSERT_TRUE(half.send("RESCAN BOARD 0 PORT 0\nCOUNT BOARDS\nCOUNT"));
    shutdown(half.fd(), SHUT_WR);
    EXPECT_EQ(half.reply(), "200 OK\n") << "only its sending end has gone";
    EXPECT_EQ(half.reply(), "200-1\n200 OK\n");
    EXPECT_EQ(half.line(), "") << "closed";
}

TEST_F(RunningService, ReadsOnBehindABufferFullOfRequests) {
    constexpr int kRequests = 30000;
    RawClient client;
    std::thread sender([&client] {
        std::string all;
        for (int i = 0; i < kRequests; ++i) {
            all += "OPEN MAC x\n";
        }
        EXPECT_TRUE(client.send(all));
    });
    int replies = 0;
    while (replies < kRequests && client.line() == "510 not a MAC address\n") {
        ++replies;
    }
    EXPECT_EQ(replies, kRequests);
    shutdown(client.fd(), SHUT_RDWR); // whoever still waits, waits no longer
    sender.join();
}

TEST_F(RunningService, ClosesClientsThatNeverReadOrNeverAsk) {
    RawClient silent;
    RawClient deaf;
    const std::string requests = "STATUS BOARD 0 PORT 0\nSTATUS BOARD 0 PORT 1\n";
    std::size_t sent = 0;
    while (::send(deaf.fd(), requests.data(), requests.size(), MSG_NOSIGNAL | MSG_DONTWAIT) > 0) {
        ASSERT_LT(sent += requests.size(), 10u << 20) << "without bound";
    }
    EXPECT_TRUE(test::serviceAnswers()) << "others are served meanwhile";
    EXPECT_EQ(silent.line(), "") << "idle";
    EXPECT_TRUE(eventually([&] { return !deaf.send("x") && (errno == EPIPE || errno == ECONNRESET); }));
}

TEST_F(RunningService, ServesManyAtOnceAndRefusesMore) {
    std::vector<std::unique_ptr<RawClient>> clients;
    std::string last;
    while (clients.size() < 300 && last != "510 too many clients\n") {
        clients.push_back(std::make_unique<RawClient>());
        ASSERT_TRUE(clients.back()->connected());
        last = clients.back()->ask("hello");
    }
    EXPECT_EQ(last, "510 too many clients\n");
    EXPECT_GT(clients.size(), 250u);
    clients.clear();
    EXPECT_TRUE(eventually(test::serviceAnswers));
}

TEST(ServiceLife, EndsWithTheTestThatStartedIt) {
    const auto beKilled = [] {
        ServiceProcess service(kOneBoard);
        service.answers();
        raise(SIGKILL);
    };
    EXPECT_EXIT(beKilled(), testing::KilledBySignal(SIGKILL), "");
    EXPECT_TRUE(eventually([] { return !test::serviceAnswers(); }));
    QFile::remove(LIOMOL_SERVICE_SOCKET);
}

TEST(ServiceLife, StopsWhileABoardIsBeingOpened) {
    ServiceProcess service(kOneBoard);
    ASSERT_TRUE(service.answers());
    RawClient waits;
    ASSERT_TRUE(waits.send("STATUS BOARD 0 PORT 0\n"));
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(service.stop().status, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(3)) << "opening takes 4";
    EXPECT_FALSE(QFile::exists(LIOMOL_SERVICE_SOCKET));
}

TEST(ServiceLife, AMistakeAtTheStartIsOneLine) {
    writeFile("bad", "\nboards = many\n");
    const test::Outcome outcome = ServiceProcess({"--config", "bad"}).program().wait();
    EXPECT_GT(outcome.status, 0);
    EXPECT_EQ(outcome.err, "gbe-service: bad:2: not a list of boards 0 to 7, each once: many\n");
    EXPECT_FALSE(QFile::exists(LIOMOL_SERVICE_SOCKET));
}

} // namespace
