#pragma once

#include <QString>

/// The order in which a file browser shows names: without regard to case, digits by value ("Disk 2" before "Disk 10").
namespace Collation {

/// Negative, zero or positive as `a` stands before, beside or after `b`. Safe to call from any thread.
int compare(const QString &a, const QString &b);

inline bool less(const QString &a, const QString &b) {
    return compare(a, b) < 0;
}

} // namespace Collation
