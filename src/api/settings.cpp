// A camera's features as a text: saved, loaded, compared.
#include "liomol/settings.h"

#include "api/features.h"
#include "api/results.h"
#include "board/failures.h"
#include "genicam/nodes/Prefetch.h"
#include "settings/compare.h"
#include "settings/load.h"
#include "settings/save.h"
#include "settings/value_text.h"

#include <string>
#include <string_view>

namespace {

// What the thread was given last. One text a thread, so that no caller frees anything.
const char* keep(std::string text) {
    static thread_local std::string kept;
    kept = std::move(text);
    return kept.c_str();
}

template<std::size_t N> std::string fieldText(const char (&field)[N]) {
    const std::string_view whole(field, N);
    return std::string(whole.substr(0, whole.find('\0')));
}

std::string cameraText(const CameraInfo& info, int options) {
    std::string text = fieldText(info.manufacturerName) + ' ' + fieldText(info.modelName) +
                       ", device version " + fieldText(info.deviceVersion);
    if ((options & GBE_SAVE_IDENTITY) != 0) {
        text += ", serial number " + fieldText(info.serialNumber) + ", name \"" +
                fieldText(info.userDefinedName) + '"';
    }
    return text;
}

class TreeAccess final : public settings::NodeAccess {
public:
    explicit TreeAccess(tavo::NodeHost& host) : m_host(host) {}

    void readAhead(const std::vector<tavo::GenICamNode*>& nodes) override {
        tavo::Prefetch prefetch(m_host);
        for (tavo::GenICamNode* const node : nodes) {
            prefetch.addValue(*node->asImplementation());
        }
        try {
            prefetch.run();
        } catch (const tavo::GenICamException&) { // also stands against the accesses that follow
        } catch (const tavo::CoreException&) {
        }
    }
    void requirePresence(tavo::GenICamNode& node) override { node.asImplementation()->requirePresence(); }
    void requireWritability(tavo::GenICamNode& node) override {
        node.asImplementation()->requireWritability();
    }

private:
    tavo::NodeHost& m_host;
};

// Calls `work` with the device of a handle under control, whose tree stays meanwhile; what it refuses becomes
// a status.
template<typename Work> int withSettings(const CameraHandle* camera, Work&& work) {
    tavo::ImplGenICamCamera* device = nullptr;
    if (const int refused = api::deviceOf(camera, device, api::Call::Use); refused != status::Success) {
        return refused;
    }
    return api::guarded([&] {
        const auto tree = device->holdTree();
        TreeAccess access(*tree);
        try {
            return work(*device, access);
        } catch (const settings::Refusal& refusal) {
            return api::refused(refusal.code(), refusal.sentence());
        }
    });
}

int save(CameraHandle* camera, int options, std::string& text) {
    return withSettings(camera, [&](tavo::ImplGenICamCamera& device, settings::NodeAccess& access) {
        text = settings::save(device, cameraText(*camera->info, options), access);
        return status::Success;
    });
}

settings::Mode modeOf(int options) {
    if ((options & GBE_LOAD_DRY_RUN) != 0) {
        return settings::Mode::Look;
    }
    return (options & GBE_LOAD_VERIFY) != 0 ? settings::Mode::SetAndVerify : settings::Mode::Set;
}

GbeLoadCounts countsOf(const settings::Loaded& loaded) {
    return {loaded.values, loaded.same, loaded.changed, loaded.refused, loaded.left, loaded.different};
}

} // namespace

int Gbe_saveSettings(CameraHandle* camera, int options, char* buffer, unsigned* size) {
    if (size == nullptr) {
        return api::nullArgument("size");
    }
    std::string text;
    const int result = save(camera, options, text);
    return result == status::Success ? api::copyBytes({text.c_str(), text.size() + 1}, buffer, size) : result;
}

int Gbe_loadSettings(
    CameraHandle* camera, const char* text, unsigned size, int options, GbeLoadCounts* counts,
    const char** report) {
    api::put(counts, GbeLoadCounts{});
    api::put(report, "");
    if (text == nullptr) {
        return api::nullArgument("text");
    }
    return withSettings(camera, [&](tavo::ImplGenICamCamera& device, settings::NodeAccess& access) {
        try {
            const settings::Loaded loaded =
                settings::load(device, settings::parse({text, size}), modeOf(options), access);
            api::put(counts, countsOf(loaded));
            api::put(report, keep(loaded.report));
            return loaded.status == status::Success
                       ? loaded.status
                       : api::refused(loaded.status, [&] { return board::lossSentence(device); });
        } catch (const settings::Malformed& malformed) {
            api::put(report, keep(malformed.what()));
            return api::refused(status::IllegalParameter, malformed.what());
        }
    });
}

int Gbe_compareSettings(
    CameraHandle* camera, const char* a, unsigned sizeOfA, const char* b, unsigned sizeOfB,
    const char** differences) {
    api::put(differences, "");
    if (a == nullptr || differences == nullptr) {
        return api::firstNull({{a, "a"}, {differences, "differences"}});
    }
    std::string present;
    if (const int result = b == nullptr ? save(camera, 0, present) : status::Success;
        result != status::Success) {
        return result;
    }
    const char* which = "first";
    try {
        const settings::Document first = settings::parse({a, sizeOfA});
        which = "second";
        const std::string_view other = b != nullptr ? std::string_view(b, sizeOfB) : present;
        *differences = keep(settings::compare(first, settings::parse(other)));
        return status::Success;
    } catch (const settings::Malformed& malformed) {
        *differences = keep(std::string("the ") + which + " text: " + malformed.what());
        return api::refused(status::IllegalParameter, *differences);
    }
}
