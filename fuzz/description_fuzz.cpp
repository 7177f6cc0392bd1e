// A camera's description: whatever it holds, it becomes a tree or none, the same one each time, and every
// node of it can be asked for all that it has, read and written; each access ends in a value or in a
// documented error.
#include "genicam/description/GenICamParser.h"
#include "genicam/description/GenICamTreeBuilder.h"
#include "genicam/description/standard_differences.h"
#include "genicam/description/xml_outline.h"
#include "genicam/device/ImplGenICamCamera.h"
#include "genicam/nodes/ImplGenICamNode.h"
#include "liomol/exceptions.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

using namespace tavo;

void require(bool sound) {
    if (!sound) {
        std::abort();
    }
}

// Formulas and texts that cannot be parsed are reported on standard output: of no interest here.
class SilentOutput {
public:
    SilentOutput() : m_before(std::cout.rdbuf(m_sink.rdbuf())) {}
    ~SilentOutput() { std::cout.rdbuf(m_before); }
    SilentOutput(const SilentOutput&) = delete;
    SilentOutput& operator=(const SilentOutput&) = delete;

private:
    std::ostringstream m_sink;
    std::streambuf* m_before;
};

// Camera memory that answers at every address, as the address tells, and forgets what is written.
class PatternPort : public GenICamPortInterface {
public:
    void read(unsigned char* buffer, long long address, long long length) override {
        for (long long i = 0; i < length; ++i) {
            const auto place = static_cast<unsigned long long>(address) + static_cast<unsigned long long>(i);
            buffer[i] = place % 7 == 0 ? static_cast<unsigned char>(place) : 0;
        }
    }
    void write(unsigned char* buffer, long long, long long length) override {
        for (long long i = 0; i < length; ++i) {
            m_checksum = static_cast<unsigned char>(m_checksum + buffer[i]);
        }
    }
    void setConnection(int, int, unsigned) override {}

private:
    volatile unsigned char m_checksum = 0;
};

void dump(GenICamTreeBuilder& builder, std::string& out) {
    out += std::to_string(builder.getNodeType()) + '@';
    out += builder.findAttribute("Name");
    out += builder.getContent();
    for (const auto& element : builder.getAllElements()) {
        (out += element.name) += '=';
        (out += element.text) += ';';
    }
    for (const auto& child : builder.getAllObjects()) {
        (out += child.name) += '(';
        dump(*child.builder, out);
        out += ')';
    }
}

// In a buffer of just the text's size, for the tree to keep.
std::unique_ptr<char[]> bufferOf(const std::string& text) {
    auto buffer = std::make_unique<char[]>(text.size() + 1);
    text.copy(buffer.get(), text.size());
    return buffer;
}

std::string dumpOf(const std::string& text) {
    std::string out;
    if (const auto root = GenICamParser().parseMemory(bufferOf(text))) {
        dump(*root, out);
    }
    return out;
}

bool build(const std::string& text, ImplGenICamCamera& device) {
    try {
        const auto root = GenICamParser(device.quirks()).parseMemory(bufferOf(text));
        if (root == nullptr) {
            return false;
        }
        require(root->getNodeType() == GenICamTypes::RegisterDescription);
        for (const auto stage :
             {GenICamTreeBuilder::CreateNodes, GenICamTreeBuilder::ResolveReferences,
              GenICamTreeBuilder::ReleaseTree}) {
            root->propagateInitStage(stage, &device.tree());
        }
        require(root->getAllObjects().empty());
        return true;
    } catch (const std::length_error&) { // it multiplies itself beyond the limit
        return false;
    }
}

// What the access gives, or the code of a documented error; anything else is a finding.
template<class Access> std::string outcome(Access access) {
    try {
        std::ostringstream out;
        out << access();
        return out.str();
    } catch (const GenICamException& error) {
        require(error.getErrno() < 0);
        return std::to_string(error.getErrno());
    } catch (const CoreException& error) {
        require(error.getErrno() < 0);
        return std::to_string(error.getErrno());
    }
}

std::string readAll(GenICamNode& node) {
    std::string all = node.getName() + '=';
    all += outcome([&] { return node.getValueAsString(); });
    all += outcome([&] { return node.isImplemented(); });
    all += outcome([&] { return node.isAvailable(); });
    all += outcome([&] { return node.isLocked(); });
    all += outcome([&] { return static_cast<int>(node.getAccessMode()); });
    if (GenICamIntegerInterface* const integer = node.asInteger()) {
        all += outcome([&] { return integer->getMin(); });
        all += outcome([&] { return integer->getMax(); });
        all += outcome([&] { return integer->getInc(); });
    }
    if (GenICamFloatInterface* const real = node.asFloat()) {
        all += outcome([&] { return real->getMin(); });
        all += outcome([&] { return real->getMax(); });
    }
    if (GenICamRegisterInterface* const memory = node.asRegister()) {
        all += outcome([&] { return memory->getAddress(); });
        all += outcome([&] { return memory->getLength(); });
    }
    return all + '\n';
}

void writeAll(GenICamNode& node) {
    if (GenICamIntegerInterface* const integer = node.asInteger()) {
        outcome([&] { return integer->setValue(5), 0; });
    }
    if (GenICamFloatInterface* const real = node.asFloat()) {
        outcome([&] { return real->setValue(-2.5), 0; });
    }
    if (GenICamBooleanInterface* const boolean = node.asBoolean()) {
        outcome([&] { return boolean->setValue(true), 0; });
    }
    if (GenICamEnumerationInterface* const enumeration = node.asEnumeration()) {
        outcome([&] { return enumeration->setIntValue(1), 0; });
    }
    if (GenICamStringInterface* const text = node.asString()) {
        outcome([&] { return text->setValue("text"), 0; });
    }
    if (GenICamCommandInterface* const command = node.asCommand()) {
        outcome([&] { return command->execute(), 0; });
        outcome([&] { return command->isDone(); });
    }
}

std::string readAll(ImplGenICamCamera& device) {
    std::string all;
    for (GenICamNode* const node : device.getNodes()) {
        require(device.tree().findNode(node->getName()) == node);
        all += readAll(*node);
    }
    return all;
}

void exercise(const std::string& text, bool standard) {
    PatternPort port;
    ImplGenICamCamera first;
    ImplGenICamCamera second;
    for (ImplGenICamCamera* const device : {&first, &second}) {
        device->setPort(&port, "Device");
        device->enableStandardBehaviour(standard);
    }
    const bool isTree = build(text, first);
    require(build(text, second) == isTree);
    if (isTree) {
        require(readAll(first) == readAll(second));
        for (GenICamNode* const node : first.getNodes()) {
            writeAll(*node);
        }
        first.invalidateAllNodes();
        readAll(first);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const SilentOutput silence;
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (genicam::outlineXml(text.c_str()).isPlain) { // what is behind it makes the parser take it as a whole
        require(dumpOf(text) == dumpOf(text.c_str() + std::string("<x/>")));
    }
    exercise(text, false);
    exercise(text, true);
    std::string copy(text.c_str());
    for (const QuirkUse& use : genicam::findDifferences(copy.data())) {
        require(use.count > 0);
    }
    return 0;
}
