// Ends exceptions where they must not get further.
#pragma once

#include "platform/TraceSrv.h"

#include <cxxabi.h>
#include <utility>

namespace modem {

/// Runs what an interface or a thread was asked for; lack of memory, or whatever a client throws, makes it fail.
/// Cancellation of the thread passes.
/// @return what the function returns, or a default value (false) after an exception.
template <class Function>
auto Guarded(Function&& function) -> decltype(function()) {
  try {
    return function();
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    TraceSrv_Trace(Tracelevel::TL_ERRO, "MODEM", "an operation was given up because of an exception");
    return decltype(function())();
  }
}

}  // namespace modem
