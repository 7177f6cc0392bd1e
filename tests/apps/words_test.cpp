// What the programs say is in their users' words: each verb of gbe and every other program does what works
// and what does not, and nothing that is printed names a type or a file of the source.
#include "process.h"

#include <QtCore/QRegularExpression>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <vector>

namespace {

using test::Outcome;
using test::Program;

std::string textOf(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::set<std::string> allOf(const std::string& text, const char* pattern, std::size_t group = 0) {
    const std::regex expression(pattern, std::regex::multiline);
    std::set<std::string> all;
    for (std::sregex_iterator each(text.begin(), text.end(), expression), end; each != end; ++each) {
        all.insert((*each)[group]);
    }
    return all;
}

// Types of the tree, but those that a camera's description has names for, too. A name without a capital
// inside is a word of the language.
std::set<std::string> typesOfTheTree(const std::string& description) {
    const std::set<std::string> known = allOf(description, R"(\w+)");
    std::set<std::string> types;
    for (const char* folder :
         {"apps", "common", "gvsp", "include", "netif", "pixels", "platform", "protocol", "simcam",
          "softboard", "src"}) {
        for (const auto& file : std::filesystem::recursive_directory_iterator(TREE + std::string(folder))) {
            if (file.path().extension() == ".h" || file.path().extension() == ".cpp") {
                types.merge(
                    allOf(textOf(file.path()), R"(\b(?:class|struct|union|enum)\s+(\w*[a-z][A-Z]\w*))", 1));
            }
        }
    }
    std::erase_if(types, [&](const std::string& type) { return known.count(type) != 0; });
    return types;
}

// What in a text is for developers; empty: nothing.
std::string wrongWords(const std::string& text, const std::set<std::string>& types) {
    std::string wrong;
    for (const std::string& word : allOf(text, R"(\w+)")) {
        wrong += types.count(word) != 0 ? " " + word : "";
    }
    for (const std::string& word :
         allOf(text, R"(\w+::|\w+\.(?:cpp|hpp|cc|c|h)\b|terminate called|what\(\)|Assertion)")) {
        wrong += " " + word;
    }
    return wrong;
}

// Port 0: a camera that works. 1: none. 2: one without a description. 3: one that refuses to be written to.
constexpr const char* kBoard = "[board 0 port 0 camera]\nname = good\n"
                               "[board 0 port 2 camera]\nfirst-url = Local:x.xml;10000000;8\n"
                               "second-url = http://camera/x.xml\n"
                               "[board 0 port 3 camera]\nfaults = status=0x8FFF forever writereg\n";

constexpr struct {
    const char* name;
    const char* text;
} kFiles[] = {
    {"good", "Width=640\n"},
    {"refused", "Width=1\nNonsense=2\n[GainSelector=Nobody]\nGain=1\n"},
    {"rubbish", "[x\377y]\nz\n"},
    {"rubbish.cfg", "[x\377y]\nz\n"},
    {"cut.cfg", "[board 0 port 0 camera]\ndescription-text = <RegisterDescription><Integer Name=\"A\n"},
    {"other.cfg", "[board 0 port 0 camera]\ndescription-text = <html><body>no</body></html>\n"},
    {"silent.cfg", "[board 0 port 0 camera]\nfaults = silent forever writereg\n"},
    {"circle.cfg",
     "[board 0 port 0 camera]\ndescription-text = <RegisterDescription><Category Name=\"Root\">"
     "<pFeature>A</pFeature><pFeature>K</pFeature></Category><Port Name=\"Device\"/>"
     "<Integer Name=\"A\"><pValue>B</pValue></Integer><Integer Name=\"B\"><pValue>A</pValue></Integer>"
     "<IntSwissKnife Name=\"K\"><pVariable Name=\"X\">Nobody</pVariable><Formula>1/0+X</Formula>"
     "</IntSwissKnife></RegisterDescription>\n"},
};

// The exit status and what is typed. The camera is that of port 0 where a line does not say otherwise.
constexpr const char* kLines = R"(
0 gbe --port 0 boards
2 gbe boards --board 9
0 gbe scan --json
1 gbe --board 3 scan
1 gbe scan >/dev/full
8 cd empty && gbe scan
0 gbe info --name good
3 gbe info --name bad
2 gbe info --mac zz
2 gbe info --name ""
3 gbe --port 1 info
0 gbe list AnalogControl --selectors
0 gbe list --json --all
0 LIOMOL_SOFTBOARD=circle.cfg gbe list
0 gbe --port 3 list AnalogControl --selectors
2 gbe list AnalogContrl
2 gbe list --visibility nobody
1 gbe list --changed-since missing
1 gbe list --changed-since rubbish
0 gbe describe Width
0 gbe describe --json TimestampLatch
0 LIOMOL_SOFTBOARD=circle.cfg gbe describe A
0 LIOMOL_SOFTBOARD=circle.cfg gbe describe K
1 gbe describe Widht
0 gbe get Width UserData
0 gbe --own get Gain
1 gbe get Widht Nonsense
5 gbe get Gamma
1 gbe --port 2 get Width
2 GBE_CAMERA=port:9 gbe get Width
1 LIOMOL_SOFTBOARD=rubbish.cfg gbe get Width
1 LIOMOL_SOFTBOARD=missing gbe get Width
1 LIOMOL_SOFTBOARD=cut.cfg gbe get Width
1 LIOMOL_SOFTBOARD=other.cfg gbe get Width
1 LIOMOL_SOFTBOARD=circle.cfg gbe get A K
0 gbe set Width=640
5 gbe set Width=1
5 gbe set Width=wide
2 gbe set Width
5 gbe set DeviceModelName=x
5 gbe set UserData=0x00
1 gbe --port 3 set Width=640
6 LIOMOL_SOFTBOARD=silent.cfg gbe set Width=640
0 gbe exec TimestampLatch
1 gbe exec Width
1 gbe --port 3 exec TimestampLatch
0 gbe xml -o camera.xml
1 gbe xml -o no/such/file
1 gbe xml >/dev/full
1 gbe --port 2 xml
0 gbe save saved
1 gbe save no/such/file
1 gbe save - >/dev/full
0 gbe load good
5 gbe load refused
2 gbe load rubbish
2 gbe load .
5 gbe --port 3 load good
0 gbe diff good good
1 gbe diff good refused
2 gbe diff good rubbish
2 gbe diff missing good
0 gbe watch -n 1 DeviceUptime
1 gbe watch Nonsense
1 gbe --port 2 watch Width
0 gbe wait Width=1920
1 gbe wait --timeout 0.1 Width=1
2 gbe wait Width
1 gbe wait Nonsense=1
0 gbe shell <<< 'get Width'
1 gbe shell <<< 'get Widht'
2 gbe shell <<< "get 'Width"
2 gbe shell <<< shell
1 gbe --port 2 shell <<< 'get Width'
0 gbe read
0 gbe --port 2 read
2 gbe read Nonsense
2 gbe read Width
1 gbe read 0xfffffff0 64
2 gbe read 0 0
1 gbe read -o no/such/file 0 4
1 gbe read -o - 0 4 >/dev/full
0 gbe write 0xd08 00 00 00 64
1 gbe write SerialNumber --text x
0 gbe --port 2 write HeartbeatTimeout 00001000
1 gbe --port 2 write Gain 00001000
2 gbe write HeartbeatTimeout 0123
1 gbe write 0xd08 -i missing
2 gbe write 0xd08
1 gbe --port 3 write 0xd08 00000064
0 gbe grab --timeout 60 -o picture.png
2 gbe grab --timeout 60 -o picture.bmp
1 gbe grab --timeout 60 -o no/such/picture.png
1 gbe grab --timeout 60 --format raw -o /dev/full
5 gbe grab --set Width=1
1 gbe grab --packet-size 100000
2 gbe grab --timeout nan
1 gbe --port 3 grab
0 gbe stream --seconds 3
2 gbe stream --seconds x
1 gbe stream --set Nonsense=1
1 gbe stream --keep-control 60
1 gbe stream --seconds 3 >/dev/full
0 gbe ip show
2 gbe ip show --port 7
0 gbe ip set good 169.254.7.101
3 gbe ip set nobody 169.254.7.101
2 gbe ip set good 300.1.1.1
0 gbe ip port 0:1 10.0.0.1/24
1 gbe ip port 0:9 10.0.0.1/24
1 gbe ip port 0:1 10.0.0.255/24
8 cd empty && gbe ip port 0:1 10.0.0.1/24
0 gbe --port 1 rescan
1 gbe --board 3 rescan
0 gbe doctor
0 LIOMOL_SOFTBOARD=circle.cfg gbe doctor
1 cd empty && gbe doctor
0 gbe top --once --interval 0.1
0 gbe top --openmetrics
2 gbe top --interval 0
1 gbe top --once >/dev/full
0 gbe capture -o good.pcapng -- get Width
1 gbe capture -o no/such/file -- get Width
1 gbe capture -o bad.pcapng -- get Widht
0 gbe report --yes -o report.tar.gz
1 gbe report --yes -o no/such/file
0 gbe demo
1 gbe --port 1 demo
1 gbe --port 2 demo
0 gbe help grab
2 gbe help nonsense
1 gbe help --man-pages no/such/folder
0 gbe --help
2 gbe nonsense
0 gbe-service --help
1 gbe-service
1 gbe-service --nonsense
1 gbe-service --config missing
1 gbe-service --config rubbish
1 gbe-service --boards 9
0 gbe-simcam --help
1 gbe-simcam
1 gbe-simcam --count x
1 gbe-simcam --interface nowhere0
1 gbe-simcam --tap no/such/tap
1 gbe-simcam --interface lo --config rubbish
1 gbe-simcam --interface lo --camera colour=red
1 gbe-simcam control missing list
0 platform-check --help
0 platform-check
1 platform-check --hardware missing.so
1 platform-check --hardware ./rubbish
1 platform-check --board 9
1 platform-check --board 5
1 liomol-netport
1 liomol-netport lo
)";

class Words : public test::WithService {
protected:
    void SetUp() override {
        QDir().mkdir("empty");
        for (const auto& [name, text] : kFiles) {
            writeFile(name, text);
        }
        qputenv("PATH", (QFileInfo(GBE).path() + ":").toUtf8() + qgetenv("PATH"));
        qputenv("LD_LIBRARY_PATH", LIBRARIES); // AddressSanitizer's dlopen does not see a program's own path
        types = typesOfTheTree(Program::run(GBE, {"--port", "0", "xml"}).out);
    }

    void check(Program& program, const QString& line) const {
        const Outcome outcome = program.wait(2 * test::kDeadlineMs);
        EXPECT_EQ(outcome.status, line.section(' ', 0, 0).toInt()) << line.toStdString() << "\n"
                                                                   << outcome.out << outcome.err;
        EXPECT_EQ(wrongWords(outcome.out + outcome.err, types), "") << line.toStdString() << "\n"
                                                                    << outcome.err;
        EXPECT_TRUE(line.startsWith('0') || !(outcome.out + outcome.err).empty()) << line.toStdString();
    }

    const test::EnvironmentFile board{"LIOMOL_SOFTBOARD", kBoard};
    std::set<std::string> types;
};

TEST_F(Words, AreThoseOfUsersWhateverIsPrinted) {
    ASSERT_EQ(
        wrongWords("std::bad_alloc in a LinkCounters (link.cpp:7)", types), " LinkCounters link.cpp std::");
    constexpr std::size_t kAtOnce = 16; // they mostly wait for answers to a scan
    const QStringList lines = QString(kLines).split('\n', Qt::SkipEmptyParts);
    std::deque<std::pair<QString, std::unique_ptr<Program>>> running;
    const auto checkFirst = [&] {
        check(*running.front().second, running.front().first);
        running.pop_front();
    };
    for (const QString& line : lines) {
        if (running.size() == kAtOnce) {
            checkFirst();
        }
        const QStringList words{"-c", "export GBE_CAMERA=port:0; " + line.section(' ', 1)};
        running.emplace_back(line, std::make_unique<Program>("/bin/bash", words));
    }
    while (!running.empty()) {
        checkFirst();
    }
    const std::string help = Program::run(GBE, {"--help"}).out;
    for (const std::string& verb : allOf(help, "^  ([a-z]+( [a-z]+)?)  ", 1)) {
        const auto isOf = [&](const char* status, const QString& line) {
            return (line + ' ')
                .contains(QRegularExpression(
                    QString("^%1 .*gbe (--[a-z]+ \\S+ )*%2 ").arg(status, QString::fromStdString(verb))));
        };
        for (const char* status : {"0", "[1-9]"}) {
            EXPECT_TRUE(std::ranges::any_of(lines, [&](const auto& line) { return isOf(status, line); }))
                << "no line of " << verb << " that ends with " << status;
        }
    }
}

} // namespace
