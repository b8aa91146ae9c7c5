// `refresh`: one batch through the feed updater: every feed of the library is queued, the updater runs
// until each has finished and the icons it looks for have come, and the library is saved. It never
// changes the user's settings.
#pragma once

#include <optional>

class RefreshCommand
{
public:
    // The icons looked for after the feeds are waited for this long at most.
    static constexpr int iconWaitMs = 60 * 1000;

    // A limit overrides "downloadConcurrent" for this run only.
    explicit RefreshCommand(std::optional<int> concurrent);
    int run() const;

private:
    std::optional<int> m_concurrent;
};
