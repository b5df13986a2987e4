#pragma once
// Hooks DDE sockets into the Qt event loop of this thread, when there is one, so pushed changes
// and requests are handled without polling. Without an application object nothing is watched and
// the owner pumps by hand.
#include <functional>

class DdeWatch {
public:
    // Calls onReadable from the event loop whenever fd has something to read.
    DdeWatch(int fd, std::function<void()> onReadable);
    ~DdeWatch();
    DdeWatch(const DdeWatch&) = delete;
    DdeWatch& operator=(const DdeWatch&) = delete;

    bool Active() const { return notifier_ != nullptr; }

    // Runs fn once from the event loop; false (fn not kept) when there is no event loop here.
    static bool Later(std::function<void()> fn);

private:
    void* notifier_ = nullptr;
};
