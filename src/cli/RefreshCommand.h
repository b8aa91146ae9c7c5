// `refresh`: one batch through the feed updater: every feed of the library is queued, the updater runs
// until each has finished, and the library is saved. It never changes the user's settings.
#pragma once

#include <optional>

class RefreshCommand
{
public:
    // A limit overrides "downloadConcurrent" for this run only.
    explicit RefreshCommand(std::optional<int> concurrent);
    int run() const;

private:
    std::optional<int> m_concurrent;
};
