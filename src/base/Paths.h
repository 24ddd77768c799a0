#pragma once

#include <QString>

#include <filesystem>

/// Paths as text rules see them. Nothing here asks the disk.
namespace Paths {

namespace fs = std::filesystem;

/// `path` made absolute against the working directory, without ".", "..", repeated separators and a final separator.
fs::path standardised(const fs::path &path);

/// The last component of a standardised path; "/" for the root folder.
std::string lastComponent(const fs::path &path);

/// Whether the two folders are the same or one lies inside the other, judged by their standardised paths and without
/// regard to case. "/a/Photos" and "/a/Photos 2" do not overlap.
bool overlap(const fs::path &a, const fs::path &b);

/// Whether `path` is `base` or lies below it: whole components, case-sensitive, both standardised.
bool isWithin(const fs::path &path, const fs::path &base);

} // namespace Paths
