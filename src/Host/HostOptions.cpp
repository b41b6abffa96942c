#include "HostOptions.h"

#include "platform/GlobalFunction.h"
#include "platform/PlatformPaths.h"
#include "platform/TraceSrv.h"

#include <CLI/CLI.hpp>
#include <atomic>
#include <cstdio>

namespace host {

namespace {

std::atomic<bool> g_bFaultTold{false};

VELK_wstring ToUtf16(const std::string& text) {
  const int length = CGlobalFunction::MultiByteToWideChar(text.c_str(), nullptr, 0, 0);
  VELK_wstring wide(static_cast<std::size_t>(length), 0);
  CGlobalFunction::MultiByteToWideChar(text.c_str(), &wide[0], length, 0);
  return wide;
}

/// A trace that was asked for and cannot be kept.
void TellTraceFault(const HostOptions& options, const std::string& program) {
  const std::string cause = options.logFile.empty() ? std::string() : TraceSrv_CheckFile();
  if (!cause.empty()) {
    std::fprintf(stderr,
                 "%s: cannot write the trace file %s: %s. Going on without it; name another one with --log-file.\n",
                 program.c_str(), options.logFile.c_str(), cause.c_str());
  }
}

}  // namespace

void AddHostOptions(CLI::App& app, HostOptions& options) {
  app.add_option(
         "--device", options.device,
         "the modem: a port (/dev/ttyUSB2), tcp:HOST:PORT, auto, or what it is: imei:DIGITS, usb:BUS-PORT, pci:PLACE, "
         "iccid:DIGITS")
      ->envname("SMS_DEVICE")
      ->type_name("MODEM");
  app.add_option("--config", options.settingsFile, "settings file")->envname("SMS_CONFIG")->type_name("FILE");
  app.add_option("--data-dir", options.dataDir, "folder of the message database")
      ->envname("SMS_DATA_DIR")
      ->type_name("DIR");
  app.add_option("--log-file", options.logFile, "trace file")->envname("SMS_LOG_FILE")->type_name("FILE");
  CLI::Option* const record =
      app.add_option("--record", options.recordFile, "keep the dialogue with the modem in a file, for a report")
          ->type_name("FILE");
  app.add_flag("--unmasked", options.unmasked, "keep numbers and texts readable in it")->needs(record);
  app.add_flag("--verbose", options.verbose, "show the trace on the terminal too");
}

void ApplyHostOptions(const HostOptions& options, const std::string& program) {
  PlatformPaths paths;
  paths.strSettingsFile = options.settingsFile;
  paths.strUserDataDir = options.dataDir;
  paths.strLogFile = options.logFile;
  SetPlatformPaths(paths);
  TellTraceFault(options, program);
  if (!options.device.empty()) {
    CGlobalFunction::OverrideSetting(u"ModemPlugin", u"Device", ToUtf16(options.device).c_str());
  }
  if (!options.recordFile.empty()) {
    CGlobalFunction::OverrideSetting(u"ModemPlugin", u"Record", ToUtf16(options.recordFile).c_str());
    CGlobalFunction::OverrideSetting(u"ModemPlugin", u"RecordUnmasked", options.unmasked ? u"1" : u"0");
  }
  if (options.verbose) {
    TraceSrv_SetLevel(Tracelevel::TL_INFO);
  }
  TraceSrv_SetSink(options.verbose ? Tracelevel::TL_INFO : Tracelevel::TL_CRIT,
                   [program](Tracelevel::TraceLevel level, const std::string&, const std::string& text) {
                     g_bFaultTold = g_bFaultTold || level == Tracelevel::TL_CRIT;
                     std::fprintf(stderr, "%s: %s\n", program.c_str(), text.c_str());
                   });
}

bool IsGraveFaultTold() { return g_bFaultTold; }

}  // namespace host
