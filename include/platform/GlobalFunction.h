// Settings store, directories and code pages.
#pragma once

#include "VelkTypes.h"
#include "platform/PlatformExport.h"

#include <string>

/// Threads: any. Nothing throws except for want of memory.
/// Lengths are in code units (16-bit) or bytes (8-bit) and never count the terminator. With a buffer at most `size`
/// units are written, a terminator only when there is room, and the full length is returned: ask with a null buffer,
/// allocate length + 1.
class PLATFORM_API CGlobalFunction {
public:
  // --- Settings: one INI file in UTF-8, read again when it has changed -----------------------------------------------

  // "[section]", "key = value", comments from ";" or "#" at the start of a line. Blanks around names and values do not
  // count, nor does the case of ASCII letters in names; of several lines for one key the last one counts. A file that
  // cannot be read, or holds zero bytes, reads as empty and is never written.

  /// @return length of the value; 0 when the key is absent. Costs about one look at the file's time.
  static int GetSetting(const VELK_wchar_t* pszModule, const VELK_wchar_t* pszItem, VELK_wchar_t* pszBuffer, int iSize);
  /// Changes one line of the file and keeps every other byte, the mode and a symbolic link; a new file is private.
  /// Written beside it, then renamed over it: after a crash the old or the new text is there.
  /// @return 0, or -1: nothing was changed; also for what would not read back as given (line breaks, blanks at an end).
  static int SetSetting(const VELK_wchar_t* pszModule, const VELK_wchar_t* pszItem, const VELK_wchar_t* pszValue);
  /// For this process only, stronger than the file: what a command line says. A null value takes it back.
  static void OverrideSetting(const VELK_wchar_t* pszModule, const VELK_wchar_t* pszItem, const VELK_wchar_t* pszValue);
  /// Whether the settings file can be used.
  /// @param bMustExist  a missing file is a fault too (a person named it).
  /// @return empty, or one line for a person that names the file, the cause and what to do.
  static std::string CheckSettings(bool bMustExist);

  // --- Code pages: 65001, 1252, 936, ...; 0 (the system default) and unknown numbers are UTF-8 ---------------------

  /// Damaged input is replaced by U+FFFD, never refused; half a surrogate pair becomes U+FFFD on the way to UTF-8. What
  /// another code page lacks becomes "?".
  static int MultiByteToWideChar(const char* pszSrc, VELK_wchar_t* pszDst, int iDstLen, int iCodePage);
  static int WideCharToMultiByte(const VELK_wchar_t* pszSrc, char* pszDst, int iDstLen, int iCodePage);

  // --- Directories ---------------------------------------------------------------------------------------------------

  /// Without a trailing separator.
  static int GetUserDataDirectory(VELK_wchar_t* pszBuffer, int iSize);
  /// Folder of the plug-in libraries, with a trailing separator.
  static int GetModuleDirectory(VELK_wchar_t* pszBuffer, int iSize);
};
