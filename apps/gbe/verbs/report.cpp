// gbe report: all that somebody needs to know who is to find a fault from afar, in one archive.
#include "common/terminal_text.h"
#include "gbe/Capture.h"
#include "gbe/CommandLine.h"
#include "gbe/Json.h"
#include "gbe/Mask.h"
#include "gbe/Redirect.h"
#include "gbe/TarGz.h"
#include "gbe/features.h"
#include "gbe/options.h"
#include "gbe/service.h"

#include <pwd.h>
#include <unistd.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QSysInfo>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>

namespace gbe {
namespace {

struct Request {
    std::string file;
    bool isOpen = false; // --yes
    bool isAnonymous = false;
};

struct Member {
    const char* name;
    const char* text; // what is in it
};
constexpr Member kMembers[] = {
    {"README.txt", "what is in this archive"},
    {"versions.txt", "versions of liomol, Qt, Linux and the distribution"},
    {"doctor.txt", "what gbe doctor finds"},
    {"service.txt", "what the service says of the ports"},
    {"links.json", "what goes over the ports, of all programs, in half a second"},
    {"softboard.conf", "the configuration of the boards in software, if there is one"},
    {"gbe-service.conf", "the configuration of the service, if there is one"},
    {"camera.txt", "who the camera is"},
    {"description.xml", "its description"},
    {"features.txt", "its features with their values, or why they cannot be read"},
    {"capture.pcapng", "the control traffic of a scan and of a connection"},
};
static_assert(std::size(kMembers) == 11);

std::string fileText(const char* name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string versions() {
    return std::string("liomol ") + Gbe_getVersion() + "\nQt " + qVersion() + "\n" + systemText() + "\n" +
           QSysInfo::prettyProductName().toStdString() + "\n" + QSysInfo::buildAbi().toStdString() + "\n";
}

// Makes an archive member by member.
class Reporter {
public:
    Reporter(Context& context, const std::string& file, bool isAnonymous, bool tells)
        : m_context(context), m_archive(file), m_mask(isAnonymous), m_tells(tells) {
        hideWhoAsks();
    }

    // What cannot be had is told in its place.
    void run() {
        add("README.txt", readme());
        add("versions.txt", versions());
        hideCameras();
        add("doctor.txt", output({"doctor"}));
        add("service.txt", service());
        add("links.json", output({"top", "--once", "--json", "--interval", "0.5"}));
        const char* const board = std::getenv("LIOMOL_SOFTBOARD");
        add("softboard.conf", fileText(board != nullptr ? board : LIOMOL_BOARD_FILE));
        add("gbe-service.conf", fileText(LIOMOL_CONFIG_DIR "/gbe-service.conf"));
        addCamera();
        addCapture();
        m_archive.close();
    }
    // Names and sizes.
    const QJsonArray& members() const { return m_members; }

private:
    void add(const std::string& name, const std::string& text) { addBytes(name, m_mask.text(text)); }
    void addBytes(const std::string& name, const std::string& bytes) {
        if (!bytes.empty()) {
            m_archive.add("liomol-report/" + name, bytes);
            m_members.append(QJsonObject{
                {"name", QString::fromStdString(name)}, {"bytes", static_cast<qint64>(bytes.size())}});
            if (m_tells) {
                std::printf("  %-17s %8zu bytes\n", name.c_str(), bytes.size());
            }
        }
    }

    void hideWhoAsks();
    void hideCameras();
    std::string readme() const;
    std::string output(const std::vector<std::string>& words);
    std::string service() const;
    void addCamera();
    std::string features(CameraHandle* camera);
    void addCapture();

    Context& m_context;
    TarGz m_archive;
    Mask m_mask;
    const bool m_tells; // as they come
    QJsonArray m_members;
};

// Names that stand in paths and messages.
void Reporter::hideWhoAsks() {
    char host[HOST_NAME_MAX + 1] = "";
    gethostname(host, sizeof host - 1);
    m_mask.word("host", host);
    const passwd* const user = getpwuid(getuid());
    const std::string name = user != nullptr ? user->pw_name : "";
    if (name != "root") {
        m_mask.word("user", name);
    }
}

// What the cameras of a scan call themselves is hidden wherever it turns up.
void Reporter::hideCameras() {
    try {
        const Board board = openBoard(m_context.selection.board);
        Selection all;
        all.board = m_context.selection.board;
        for (const FoundCamera& camera : findCameras(board.get(), all)) {
            m_mask.word("serial", fieldText(camera.info.serialNumber));
            m_mask.word("name", fieldText(camera.info.userDefinedName));
        }
    } catch (const Failure&) { // the doctor tells why
        return;
    }
}

std::string Reporter::readme() const {
    std::string text = std::string("A report of gbe ") + Gbe_getVersion() + ", " +
                       QDateTime::currentDateTimeUtc().toString(Qt::ISODate).toStdString() + "\n\n";
    for (const Member& member : kMembers) {
        text += std::string(member.name) + ": " + member.text + "\n";
    }
    return text +
           (m_mask.hides()
                ? "\nMAC and IP addresses, serial numbers, and names of cameras, users and computers are "
                  "replaced,\nthe same by the same everywhere; addresses of one subnet still are of one. "
                  "The capture has no\ndata of memory accesses.\n"
                : "\nAddresses, names and serial numbers are as they were found.\n");
}

std::string Reporter::output(const std::vector<std::string>& words) {
    const Selection selection = m_context.selection;
    m_context.disconnect();
    const std::string text = outputOf([&] { CommandLine(m_context).run(words); });
    m_context.selection = selection;
    m_context.json = false;
    return text;
}

std::string Reporter::service() const {
    std::string text;
    for (unsigned port = 0; port < GBE_PORTS; ++port) {
        const std::string request =
            "STATUS BOARD " + std::to_string(m_context.selection.board) + " PORT " + std::to_string(port);
        text += request + "\n";
        for (const std::string& line : askService(request).lines) {
            text += line + "\n";
        }
    }
    return text;
}

void Reporter::addCamera() {
    try {
        CameraHandle* const camera = m_context.session(Purpose::Look).camera.get();
        const std::string description = readDescription(camera);
        const std::string values = features(camera);
        m_context.disconnect();
        add("camera.txt", output({"info"}));
        add("description.xml", description);
        addBytes("features.txt", values); // masked by what each feature is
    } catch (const Failure& failure) {
        add("camera.txt", std::string(failure.what()) + "\n");
    }
}

std::string Reporter::features(CameraHandle* camera) {
    std::string text;
    const std::vector<std::string> names = allNames(camera);
    readAhead(camera, names);
    for (const std::string& name : names) {
        try {
            text += name + " = " + m_mask.value(name, readText(camera, name)) + "\n";
        } catch (const Failure& failure) {
            text += name + ": " + m_mask.text(failure.reason()) + "\n";
        }
    }
    return common::terminalLines(text);
}

// Comes last: all that the mask is to hide is known by now.
void Reporter::addCapture() {
    m_context.disconnect();
    std::string bytes;
    common::PcapngFile file(
        [&](std::span<const std::uint8_t> block) { bytes.append(block.begin(), block.end()); },
        std::string("gbe ") + Gbe_getVersion(), systemText(), {"gbe scan, gbe get DeviceModelName"});
    Capture capture(file, [&](Capture::Frame& frame) { m_mask.frame(frame); });
    for (CapturePort& port : capturePorts(m_context.selection)) {
        CapturePort shown = port;
        shown.mac = m_mask.mac(port.mac);
        shown.ip = m_mask.ip(port.ip);
        std::string error;
        if (port.interface.empty() || !capture.addInterface(port, shown, Capture::Scope::Control, error)) {
            capture.addOwnFrames(shown);
        }
    }
    output({"scan"});
    output({"get", "DeviceModelName"});
    m_context.disconnect();
    capture.stop();
    addBytes("capture.pcapng", bytes);
}

// True: names and numbers are left out.
bool asksForAnonymous() {
    std::printf("The report will hold:\n");
    for (const Member& member : kMembers) {
        std::printf("  %-17s %s\n", member.name, member.text);
    }
    std::printf("Include addresses, serial numbers and names as they are? [y/N] ");
    std::fflush(stdout);
    const int answer = std::getchar();
    return answer != 'y' && answer != 'Y';
}

ExitStatus report(Context& context, const Request& request) {
    const bool json = context.json; // verbs that run for it change that
    const bool canAsk = !json && isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0;
    const bool isAnonymous = request.isAnonymous || (!request.isOpen && (!canAsk || asksForAnonymous()));
    const std::string file =
        !request.file.empty()
            ? request.file
            : "liomol-report-" + QDateTime::currentDateTime().toString("yyyyMMdd-HHmmss").toStdString() +
                  ".tar.gz";
    Reporter reporter(context, file, isAnonymous, !json);
    if (!json) {
        std::printf("%s holds\n", file.c_str());
    }
    reporter.run();
    if (json) {
        print(QJsonDocument(QJsonObject{
            {"file", QString::fromStdString(file)},
            {"anonymous", isAnonymous},
            {"members", reporter.members()}}));
    } else {
        std::printf(
            "%s\n", isAnonymous ? "Addresses, serial numbers and names are replaced."
                                : "Addresses, serial numbers and names are in it as they are.");
    }
    return ExitStatus::Success;
}

Run define(CLI::App& command, Context& context) {
    const auto request = std::make_shared<Request>();
    command.add_option("-o,--output", request->file, "The archive (default: liomol-report-<time>.tar.gz)")
        ->type_name("FILE");
    CLI::Option* const yes = command.add_flag(
        "-y,--yes", request->isOpen, "With addresses, serial numbers and names, without a question");
    command.add_flag("--anonymous", request->isAnonymous, "Without them, without a question")->excludes(yes);
    addJson(command, context);
    return [=, &context] { return report(context, *request); };
}

constexpr Example kExamples[] = {
    {"gbe report -o report.tar.gz --anonymous", "what is left tells nobody whose the camera is"},
};

} // namespace

extern const Verb kReportVerb{
    "report",
    Group::Trouble,
    "Makes one archive of all that a bug report needs",
    &define,
    kExamples,
    "It holds the findings of gbe doctor, versions, configuration, the camera's description and features and a "
    "short capture. Before addresses, serial numbers and names go into it, it asks; where there is no terminal "
    "to ask on they are left out. They are then replaced by others in all parts, the same by the same."};

} // namespace gbe
