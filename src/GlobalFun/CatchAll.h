// Catching everything on threads that may be cancelled.
#pragma once

#include <cxxabi.h>

/// JThread::Kill unwinds a thread with a foreign exception that must not be swallowed. Every catch-all that can run on a
/// thread of the service puts this in front:
///     try { ... } SMS_LET_CANCELLATION_PASS catch (...) { ... }
#define SMS_LET_CANCELLATION_PASS \
  catch (abi::__forced_unwind&) { \
    throw;                        \
  }
