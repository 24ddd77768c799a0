#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <string_view>
#include <vector>

/// A JSON text (RFC 8259, nothing beyond it but an optional leading byte-order mark) taken apart but not yet
/// decoded: a flat list of its values that point into the text. Takes no more stack for deep nesting.
///
/// The program has a reader of its own because a full history is some 90 MB of text, which a tree of values
/// would multiply, and because numbers must be exact up to the ends of the 64-bit range.
class JsonDocument {
  public:
    enum class Kind : std::uint8_t { Null, False, True, Number, Text, List, Object };

    /// One value or key. The nodes inside a list or an object follow it up to `next`, in an object as key and
    /// value by turns.
    struct Node {
        std::uint32_t begin = 0; ///< Of a number or a text without its quotes: where it stands in the bytes.
        std::uint32_t size = 0;  ///< In bytes.
        std::uint32_t next = 0;  ///< The index of the first node that is not inside this one.
        Kind kind = Kind::Null;
        bool isEscaped = false; ///< Whether a text holds a backslash.
    };

    /// Fails with JsonError when `bytes` is not JSON, holds text that is not well-formed Unicode, or is
    /// larger than 4 GiB.
    explicit JsonDocument(const QByteArray &bytes);

    /// The top value is the node 0.
    const Node &node(std::uint32_t index) const { return nodes[index]; }

    /// A number or a text as it stands in the document.
    std::string_view raw(const Node &node) const { return {bytes.constData() + node.begin, node.size}; }

    /// A text without its escapes.
    QString text(const Node &node) const;

    /// Whether the text `node` reads `key`, which is ASCII.
    bool reads(const Node &node, std::string_view key) const;

  private:
    QByteArray bytes;
    std::vector<Node> nodes;
};
