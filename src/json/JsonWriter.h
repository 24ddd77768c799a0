#pragma once

#include "json/RawText.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QUuid>

#include <concepts>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

/// Writes one JSON document in the layout of all files of this program: UTF-8, two-space indentation, one
/// member per line with a blank on each side of the colon, keys ascending, "/" escaped, no final line feed.
///
/// The keys of an object must come in ascending order of their bytes; one that doesn't fails with
/// std::logic_error at once, in every build. What can be a value: bool, whole numbers and double (null when
/// it is not finite), QString, QDateTime (UTC, whole seconds, fractions dropped; years 1 to 9999, others
/// become the nearest of these, an invalid one 1970-01-01), QUuid, enumerations that are stored as text,
/// std::vector of any of them, and records with a `toJson(JsonWriter &)`.
class JsonWriter {
  public:
    void beginObject() { begin('{'); }
    void endObject() { end('}'); }
    void beginArray() { begin('['); }
    void endArray() { end(']'); }

    /// Begins a member of the current object; its value must follow. `key` is plain ASCII without anything to
    /// escape and lives until the object ends, as a literal does.
    void key(std::string_view key);

    template <std::same_as<bool> Bool>
    void value(Bool truth) {
        raw(truth ? "true" : "false");
    }
    template <std::integral Number>
    requires(!std::same_as<Number, bool>) void value(Number number) { integer(number); }
    void value(double number);
    void value(const QString &text);
    void value(const QUuid &identity);
    void value(const QDateTime &moment);
    template <StoredAsText Case>
    void value(Case constant) {
        value(QString(rawText(constant)));
    }
    template <typename Element>
    void value(const std::vector<Element> &list) {
        beginArray();
        for (const Element &element : list)
            value(element);
        endArray();
    }
    template <typename Record>
    requires requires(const Record &record, JsonWriter &out) { record.toJson(out); }
    void value(const Record &record) { record.toJson(*this); }

    template <typename T>
    void member(std::string_view memberKey, const T &content) {
        key(memberKey);
        value(content);
    }

    /// Writes nothing at all when `content` is absent.
    template <typename T>
    void member(std::string_view memberKey, const std::optional<T> &content) {
        if (content)
            member(memberKey, *content);
    }

    /// The finished document. The writer is spent afterwards.
    QByteArray take() { return std::move(out); }

  private:
    /// One object or list that has begun and not yet ended.
    struct Level {
        std::string_view lastKey = {};
        bool isObject = false;
        bool isEmpty = true;
        bool keyIsWritten = false;
    };

    void begin(char bracket);
    void end(char bracket);
    void beforeValue();
    void newLine();
    void raw(std::string_view bytes);
    void append(std::string_view bytes) { out.append(bytes.data(), static_cast<qsizetype>(bytes.size())); }
    void integer(std::int64_t number);

    QByteArray out;
    std::vector<Level> levels;
};
