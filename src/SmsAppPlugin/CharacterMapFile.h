// The site's character map as the settings name it.
#pragma once

#include "VelkTypes.h"

#include <mutex>

/// Reads the file's name from the settings at its first use and keeps it for the life of the process; so each place
/// that uses the map has one of these, in static storage. Nothing in it needs a destructor: threads may outlive it.
/// Threads: any.
class CCharacterMapFile {
public:
  /// @param strModulePath  folder of the plug-in, with its separator; the map is "config/<name>" below it.
  /// @return the text with every mapped character replaced; the text itself when no map is set.
  VELK_wstring Apply(const VELK_wstring& strText, const VELK_wstring& strModulePath);

private:
  /// @return the 8-bit path; empty when no map is set.
  const char* PathLocked(const VELK_wstring& strModulePath);

  static constexpr int kMostOctets = 4096;

  std::mutex m_lock;
  bool m_bRead = false;
  char m_szPath[kMostOctets] = {};  // a path that does not fit is not used
};
