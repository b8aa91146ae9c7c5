// Waits on the event loop with a bound, so that a lost completion fails the test instead of hanging it.
#pragma once

#include <functional>

// Until the condition holds or the bound passes; true when it held. Each pass may also nudge the code
// under test, such as a queue that its own timer would run far more seldom.
bool waitUntil(const std::function<bool()> &done, int guardMs = 15000,
               const std::function<void()> &eachPass = {});
// For checks that something does not happen meanwhile.
void settle(int milliseconds);
