#pragma once

#include <QString>

#include <exception>
#include <string>

/// A failure of the program's own in copying one file; system failures travel as std::system_error.
class CopyError : public std::exception {
  public:
    explicit CopyError(const QString &sentence) : description(sentence), bytes(sentence.toStdString()) {}

    /// The sentence about an original that isn't what it was when its copying began.
    static QString incomplete() {
        return QStringLiteral("The copy was incomplete (the file may have changed while copying). It will be retried "
                              "next time.");
    }

    /// What to tell the user.
    const QString &text() const { return description; }
    const char *what() const noexcept override { return bytes.c_str(); }

  private:
    QString description;
    std::string bytes;
};

/// A copy stopped because of cancellation; never shown to the user.
struct SyncCancelled : std::exception {
    const char *what() const noexcept override { return "cancelled"; }
};
