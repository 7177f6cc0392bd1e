#include "genicam/description/GenICamTreeBuilder.h"

#include "genicam/description/Arena.h"
#include "genicam/description/limits.h"

#include <stdexcept>
#include <utility>

namespace tavo {

namespace {

void charge(std::size_t& account, std::size_t amount, std::size_t limit) {
    account += amount;
    if (account > limit) {
        throw std::length_error("it grows beyond reason when it is read");
    }
}

} // namespace

struct GenICamTreeBuilder::Store {
    genicam::Arena arena;
    std::size_t builders = 0;
    std::size_t copies = 0;
    std::size_t copiedBytes = 0;
    std::size_t formulaText = 0;
};

GenICamTreeBuilder::GenICamTreeBuilder(GenICamTypes::GenICamNodeType type)
    : m_owned(std::make_unique<Store>()), m_store(*m_owned), m_type(type) {}

GenICamTreeBuilder::GenICamTreeBuilder(GenICamTypes::GenICamNodeType type, Store& store)
    : m_store(store), m_type(type) {}

// That of the root. All others end with its store.
GenICamTreeBuilder::~GenICamTreeBuilder() = default;

void GenICamTreeBuilder::setContent(std::string_view content) {
    m_content = m_store.arena.store(content);
}

std::string_view GenICamTreeBuilder::setAttribute(std::string_view name, std::string_view value) {
    genicam::Arena& arena = m_store.arena;
    return m_attributes.add({arena.storeName(name), arena.store(value)}, arena).value;
}

std::string_view GenICamTreeBuilder::getAttribute(std::string_view name, std::string_view defaultValue) {
    const auto found = m_attributes.named(name);
    return found.empty() ? setAttribute(name, defaultValue) : found.back().value;
}

std::string_view GenICamTreeBuilder::findAttribute(std::string_view name, std::string_view defaultValue) {
    const auto found = m_attributes.named(name);
    return found.empty() ? defaultValue : found.back().value;
}

GenICamTreeBuilder::Element& GenICamTreeBuilder::addElement(std::string_view name, std::string_view text) {
    genicam::Arena& arena = m_store.arena;
    return m_elements.add({arena.storeName(name), arena.store(text)}, arena);
}

void GenICamTreeBuilder::addElement(const Element& element) {
    m_elements.add(element, m_store.arena);
}

std::string_view GenICamTreeBuilder::getFirstElement(std::string_view name, std::string_view defaultText) {
    const Element* const found = findElement(name);
    return found != nullptr ? found->text : addElement(name, defaultText).text;
}

const GenICamTreeBuilder::Element* GenICamTreeBuilder::findElement(std::string_view name) {
    const auto found = m_elements.named(name);
    return found.empty() ? nullptr : &found.front();
}

std::span<GenICamTreeBuilder::Element> GenICamTreeBuilder::getAllElementsByName(std::string_view name) {
    return m_elements.named(name);
}

GenICamTreeBuilder& GenICamTreeBuilder::addObject(std::string_view name, GenICamTypes::GenICamNodeType type) {
    charge(m_store.builders, 1, genicam::kMaxBuilders);
    genicam::Arena& arena = m_store.arena;
    void* const place = arena.allocate(sizeof(GenICamTreeBuilder), alignof(GenICamTreeBuilder));
    auto* const child = new (place) GenICamTreeBuilder(type, m_store);
    m_objects.add({arena.storeName(name), child}, arena);
    return *child;
}

std::span<GenICamTreeBuilder::Object> GenICamTreeBuilder::getAllObjectsByName(std::string_view name) {
    return m_objects.named(name);
}

void GenICamTreeBuilder::reserve(std::size_t attributes, std::size_t elements, std::size_t objects) {
    m_attributes.reserve(attributes, m_store.arena);
    m_elements.reserve(elements, m_store.arena);
    m_objects.reserve(objects, m_store.arena);
}

void GenICamTreeBuilder::adoptBuffer(std::unique_ptr<char[]> buffer, std::size_t size) {
    m_store.arena.adopt(std::move(buffer), size);
}

void GenICamTreeBuilder::countCopies(std::size_t count, std::size_t bytes) {
    charge(m_store.copies, count, genicam::kMaxCopies);
    charge(m_store.copiedBytes, bytes, genicam::kMaxCopiedBytes);
}

void GenICamTreeBuilder::countFormula(std::size_t characters) {
    charge(m_store.formulaText, characters, genicam::kMaxFormulaText);
}

} // namespace tavo
