// The version of the programs.
#pragma once

namespace host {

constexpr const char kVersionLine[] = "SmsAppPlugin " SMS_VERSION;

}  // namespace host
