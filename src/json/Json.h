#pragma once

#include "json/JsonDocument.h"
#include "json/JsonError.h"
#include "json/JsonReader.h"
#include "json/JsonWriter.h"

#include <QByteArray>

/// The one JSON rule set of every file that this program reads or writes. The rules of single values are told
/// at JsonReader and JsonWriter. Safe to call from any thread.
namespace Json {

/// The bytes read as a `T`: a record or a std::vector of records. Fails with JsonError.
template <typename T>
T fromBytes(const QByteArray &bytes) {
    const JsonDocument document(bytes);
    return JsonReader(document).as<T>();
}

/// A record or a std::vector of records as the bytes of a file.
template <typename T>
QByteArray toBytes(const T &document) {
    JsonWriter out;
    out.value(document);
    return out.take();
}

} // namespace Json
