#pragma once

#include "json/JsonDocument.h"
#include "json/RawText.h"

#include <QDateTime>
#include <QString>
#include <QUuid>

#include <concepts>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

/// One value of a JSON document and its place in it, read strictly: what is not exactly of the type asked for
/// fails with a JsonError that names the place.
///
/// The types: bool; std::int64_t (a whole number in the signed 64-bit range, also written as 1.0 or 1e3);
/// QString; QUuid (8-4-4-4-12 hexadecimal digits of either case, without braces); QDateTime (ISO 8601, whole
/// seconds, "Z" or an offset such as "+02:00"; in UTC afterwards); enumerations that are stored as text;
/// std::vector of any of them; and records with a static `fromJson(const JsonReader &)`.
///
/// Keys that nobody asks for are ignored; of a key that comes twice the last counts. A reader refers to the
/// document and to the reader of the value around it, so it is only handed down the call stack.
class JsonReader {
  public:
    /// Reads the document's top value.
    explicit JsonReader(const JsonDocument &whole) : document(&whole), index(0) {}
    JsonReader(const JsonReader &) = delete;
    JsonReader &operator=(const JsonReader &) = delete;

    /// The value itself.
    template <typename T>
    T as() const;

    /// The member `key` of this object, which must be there and not null.
    template <typename T>
    T required(std::string_view key) const;

    /// The member `key` of this object; none when it is missing or null.
    template <typename T>
    std::optional<T> optional(std::string_view key) const;

    /// The member `key` of this object, or `fallback` when it is missing. null is a wrong type here.
    template <typename T>
    T valueOr(std::string_view key, T fallback) const;

  private:
    static constexpr std::uint32_t missing = std::numeric_limits<std::uint32_t>::max();

    JsonReader(const JsonReader &object, std::uint32_t member, std::string_view memberKey)
        : document(object.document), index(member), around(&object), key(memberKey) {}
    JsonReader(const JsonReader &list, std::uint32_t element, std::size_t elementPosition)
        : document(list.document), index(element), around(&list), position(elementPosition) {}

    /// The node of the member, or `missing`.
    std::uint32_t find(std::string_view memberKey) const;
    bool is(std::uint32_t node, JsonDocument::Kind kind) const {
        return node != missing && document->node(node).kind == kind;
    }
    const JsonDocument::Node &expectList() const;
    template <typename Element>
    std::vector<Element> list() const;
    bool boolean() const;
    std::int64_t integer() const;
    QString text() const;
    QUuid uuid() const;
    QDateTime moment() const;
    std::size_t caseAmong(std::span<const QLatin1StringView> texts) const;

    std::string place() const;
    [[noreturn]] void failExpecting(std::string_view what) const;

    const JsonDocument *document;
    std::uint32_t index;
    const JsonReader *around = nullptr;
    std::string_view key = {}; ///< Of a member.
    std::size_t position = 0;  ///< Of an element, where `key` is empty.
};

namespace JsonTypes {
template <typename T>
inline constexpr bool isVector = false;
template <typename Element>
inline constexpr bool isVector<std::vector<Element>> = true;
} // namespace JsonTypes

template <typename T>
T JsonReader::as() const {
    if constexpr (std::same_as<T, bool>)
        return boolean();
    else if constexpr (std::same_as<T, std::int64_t>)
        return integer();
    else if constexpr (std::same_as<T, QString>)
        return text();
    else if constexpr (std::same_as<T, QUuid>)
        return uuid();
    else if constexpr (std::same_as<T, QDateTime>)
        return moment();
    else if constexpr (StoredAsText<T>)
        return static_cast<T>(caseAmong(rawTexts(T{})));
    else if constexpr (JsonTypes::isVector<T>)
        return list<typename T::value_type>();
    else
        return T::fromJson(*this);
}

template <typename Element>
std::vector<Element> JsonReader::list() const {
    const JsonDocument::Node &node = expectList();
    std::vector<Element> elements;
    for (std::uint32_t at = index + 1; at < node.next; at = document->node(at).next)
        elements.push_back(JsonReader(*this, at, elements.size()).template as<Element>());
    return elements;
}

template <typename T>
T JsonReader::required(std::string_view memberKey) const {
    return JsonReader(*this, find(memberKey), memberKey).template as<T>();
}

template <typename T>
std::optional<T> JsonReader::optional(std::string_view memberKey) const {
    const std::uint32_t member = find(memberKey);
    if (member == missing || is(member, JsonDocument::Kind::Null))
        return std::nullopt;
    return JsonReader(*this, member, memberKey).template as<T>();
}

template <typename T>
T JsonReader::valueOr(std::string_view memberKey, T fallback) const {
    const std::uint32_t member = find(memberKey);
    if (member == missing)
        return fallback;
    return JsonReader(*this, member, memberKey).template as<T>();
}
