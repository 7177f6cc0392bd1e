#include "FeatureCache.h"

#include "Session.h"
#include "common/terminal_text.h"
#include "features.h"
#include "liomol/features.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSaveFile>
#include <QtCore/QStringList>

#include <algorithm>
#include <cctype>

namespace gbe {
namespace {

constexpr const char* kHead = "gbe camera 1"; // the first line of a file
constexpr qint64 kMostBytes = qint64{4} * 1024 * 1024;
constexpr int kMostFiles = 64; // as many cameras as a port can have

QDir folder() {
    const QString given = QString::fromLocal8Bit(qgetenv("XDG_CACHE_HOME"));
    return {(QDir::isAbsolutePath(given) ? given : QDir::homePath() + "/.cache") + "/liomol"};
}

// What goes into a shell's command line must mean nothing there.
bool isPlain(const std::string& word) {
    return !word.empty() && std::all_of(word.begin(), word.end(), [](unsigned char c) {
        return c < 0x80 && (std::isalnum(c) != 0 || c == '_');
    });
}

std::string lineOf(CameraHandle* camera, const std::string& name) {
    int kind = GBE_KIND_OTHER;
    if (!isPlain(name) || Gbe_getFeatureKind(camera, name.c_str(), &kind) < 0) {
        return "";
    }
    std::string text = name + " " + kindName(kind);
    for (const std::string& entry : featureList(camera, name, GBE_LIST_ENTRIES)) {
        text += isPlain(entry) ? " " + entry : "";
    }
    return text + "\n";
}

std::string textOf(CameraHandle* camera) {
    const CameraInfo& info = *Gbe_getCameraInfo(camera);
    unsigned ip = 0;
    Gbe_getCameraIp(camera, &ip);
    std::string text = kHead;
    for (const std::string& field :
         {Mac::at(info.mac).text(), Ipv4::fromLowFirst(ip).text(), fieldText(info.userDefinedName),
          fieldText(info.modelName)}) {
        text += "\n" + common::terminalText(field);
    }
    text += '\n';
    for (const Category& category : categoriesOf(camera)) {
        for (const std::string& name : category.features) {
            text += lineOf(camera, name);
        }
    }
    return text;
}

QByteArray contentOf(const QString& file) {
    QFile source(file);
    return source.open(QIODevice::ReadOnly) ? source.read(kMostBytes) : QByteArray();
}

KnownCamera parse(const QByteArray& text) {
    const QStringList lines = QString::fromUtf8(text).split('\n');
    constexpr int kHeadLines = 5;
    if (lines.size() < kHeadLines || lines[0] != kHead) {
        return {};
    }
    KnownCamera camera{
        lines[1].toStdString(), lines[2].toStdString(), lines[3].toStdString(), lines[4].toStdString(), {}};
    for (int i = kHeadLines; i < lines.size(); ++i) {
        const QStringList words = lines[i].split(' ');
        KnownFeature feature;
        feature.name = words[0].toStdString();
        feature.kind = words.value(1).toStdString();
        for (const QString& entry : words.mid(2)) {
            feature.entries.push_back(entry.toStdString());
        }
        if (isPlain(feature.name) && std::all_of(feature.entries.begin(), feature.entries.end(), &isPlain)) {
            camera.features.push_back(feature);
        }
    }
    return camera;
}

} // namespace

void rememberCamera(CameraHandle* camera) {
    const QDir place = folder();
    if (!QDir().mkpath(place.path())) {
        return;
    }
    QString name = QString::fromStdString(Mac::at(Gbe_getCameraInfo(camera)->mac).text());
    const QString file = place.filePath("camera-" + name.remove(':'));
    const QByteArray text = QByteArray::fromStdString(textOf(camera));
    if (contentOf(file) == text) {
        QFile same(file);
        if (same.open(QIODevice::ReadWrite)) {
            same.setFileTime(QDateTime::currentDateTime(), QFileDevice::FileModificationTime);
        }
        return;
    }
    QSaveFile fresh(file);
    if (fresh.open(QIODevice::WriteOnly)) {
        fresh.write(text);
        fresh.commit();
    }
}

std::vector<KnownCamera> knownCameras() {
    std::vector<KnownCamera> cameras;
    const QDir place = folder();
    for (const QString& file : place.entryList({"camera-*"}, QDir::Files, QDir::Time).mid(0, kMostFiles)) {
        KnownCamera camera = parse(contentOf(place.filePath(file)));
        if (!camera.mac.empty()) {
            cameras.push_back(std::move(camera));
        }
    }
    return cameras;
}

bool isMeant(const KnownCamera& camera, const Selection& selection) {
    return (!selection.mac || selection.mac->text() == camera.mac) &&
           (!selection.ip || selection.ip->text() == camera.ip) &&
           (selection.name.empty() || selection.name == camera.name);
}

} // namespace gbe
