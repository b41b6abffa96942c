// The version that the build gives.
#include "ModemOptions.h"

namespace modem_sim {

const char* const kVersion = SMS_VERSION;

}  // namespace modem_sim
