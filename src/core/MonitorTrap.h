#pragma once
// The last line of defence of the monitor's event handlers: nothing thrown below may reach the
// event loop. What does (running out of memory, mostly) is reported as the handler's own error.
#include <exception>
#include <new>
#include <string_view>

#include "support/Log.h"

template <class Body>
bool TrapErrors(std::string_view procedure, Body&& body) noexcept {
    try {
        body();
        return true;
    } catch (const std::bad_alloc&) {
        ReportError(procedure, VbError(ErrOutOfMemory));
    } catch (const std::exception& e) {
        ReportError(procedure, VbError(ErrInvalidCall, e.what()));
    } catch (...) {
        ReportError(procedure, VbError(ErrInvalidCall));
    }
    return false;
}
