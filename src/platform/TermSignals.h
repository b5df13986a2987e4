#pragma once
// SIGTERM and SIGINT as a request to end, delivered on the event loop: a service manager's stop
// or a Ctrl-C then ends the monitor through its own clean path, never in the middle of a save.
#include <functional>

// From now on the first SIGTERM or SIGINT calls onSignal from the event loop (an event loop must
// run for it to be called). A second signal ends the process at once, as if no handler were set.
void OnTermSignal(std::function<void()> onSignal);
