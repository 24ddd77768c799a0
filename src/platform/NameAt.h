#pragma once

/// One name in an open folder.
struct NameAt {
    int folder;
    const char *name;
};
