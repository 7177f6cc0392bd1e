#include "genicam/GenICamTreeBuilder.h"

#include "genicam/text_arena.h"

#include <stdexcept>
#include <utility>

namespace tavo {

struct GenICamTreeBuilder::Store {
    genicam::TextArena texts;
    std::size_t copies = 0;
};

GenICamTreeBuilder::GenICamTreeBuilder(GenICamTypes::GenICamNodeType type)
    : m_store(std::make_shared<Store>()), m_type(type) {}

GenICamTreeBuilder::GenICamTreeBuilder(GenICamTypes::GenICamNodeType type, const GenICamTreeBuilder& relative)
    : m_store(relative.m_store), m_type(type) {}

GenICamTreeBuilder::~GenICamTreeBuilder() = default;

void GenICamTreeBuilder::setContent(std::string_view content) {
    m_content = m_store->texts.store(content);
}

std::string_view GenICamTreeBuilder::setAttribute(std::string_view name, std::string_view value) {
    genicam::TextArena& texts = m_store->texts;
    return m_attributes.add({texts.store(name), texts.store(value)}).value;
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
    genicam::TextArena& texts = m_store->texts;
    return m_elements.add({texts.store(name), texts.store(text)});
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

GenICamTreeBuilder&
GenICamTreeBuilder::addObject(std::string_view name, std::unique_ptr<GenICamTreeBuilder> builder) {
    return *m_objects.add({m_store->texts.store(name), std::move(builder)}).builder;
}

std::span<GenICamTreeBuilder::Object> GenICamTreeBuilder::getAllObjectsByName(std::string_view name) {
    return m_objects.named(name);
}

void GenICamTreeBuilder::reserve(std::size_t attributes, std::size_t elements, std::size_t objects) {
    m_attributes.reserve(attributes);
    m_elements.reserve(elements);
    m_objects.reserve(objects);
}

void GenICamTreeBuilder::countCopies(std::size_t count) {
    m_store->copies += count;
    if (m_store->copies > maxCopies) {
        throw std::length_error("the description multiplies itself");
    }
}

} // namespace tavo
