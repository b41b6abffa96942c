// A home of its own for a test: settings, data, log and module folder below one temporary folder.
#pragma once

#include <string>

/// Sets the platform's paths; make it first in a test. The folder goes with it.
class CTempHome {
public:
  CTempHome();
  ~CTempHome();
  CTempHome(const CTempHome&) = delete;
  CTempHome& operator=(const CTempHome&) = delete;

  /// The folder, or a file in it.
  const std::string& Path() const { return m_strPath; }
  std::string Path(const std::string& name) const { return m_strPath + "/" + name; }
  std::string SettingsFile() const { return Path("settings.ini"); }
  std::string DataDir() const { return Path("data"); }
  std::string DatabaseFile() const { return Path("data/userdata/SMS.DTC"); }
  std::string LogFile() const { return Path("sms.log"); }
  std::string ModuleDir() const { return Path("module"); }

  /// Writes the settings file anew.
  void WriteSettings(const std::string& text) const;
  /// Writes a file below the folder, with the folders it needs.
  void WriteFile(const std::string& name, const std::string& text) const;
  /// Content of a file below the folder; empty when it is not there.
  std::string ReadFile(const std::string& name) const;

private:
  std::string m_strPath;
};
