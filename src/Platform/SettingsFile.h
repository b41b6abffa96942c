// The settings file on disk: read whole, replaced whole.
#pragma once

#include <sys/stat.h>
#include <string>

/// Threads: the caller's lock. A symbolic link is followed: its target is read and replaced.
class CSettingsFile {
public:
  enum State { kMissing, kUsable, kUnusable };

  explicit CSettingsFile(const std::string& strPath) : m_strPath(strPath) {}

  const std::string& Path() const { return m_strPath; }

  /// Whether the file may have changed since the last Read().
  bool MayHaveChanged() const;
  /// @return false: the file is as it was, State() and Text() too.
  bool Read();

  State GetState() const { return m_enState; }
  const std::string& Text() const { return m_strText; }    ///< empty unless usable
  const std::string& Fault() const { return m_strFault; }  ///< why it is not usable, and what to do

  /// Calls fnChange(text) with what the file holds now and puts its result in place of the file, so that a reader or a
  /// power cut meets the old text or the new one. The mode stays; a new file gets 0600. Programs that do so at the same
  /// time take turns.
  /// @return false: the file is unusable or could not be written; it is as it was.
  template <class Change>
  bool Update(const Change& fnChange) {
    const CTurn turn(*this);
    Read();
    std::string strText;
    if (m_enState == kUnusable || !fnChange(m_strText, strText)) {
      return false;
    }
    return strText == m_strText || Replace(strText);
  }

private:
  /// One program at a time between reading and replacing.
  class CTurn {
  public:
    explicit CTurn(const CSettingsFile& file);
    ~CTurn();
    CTurn(const CTurn&) = delete;
    CTurn& operator=(const CTurn&) = delete;

  private:
    int m_iFolder;
  };

  bool ReadOpen(int iDescriptor);
  void SetUnusable(const std::string& strFault);
  bool Replace(const std::string& strText);
  std::string Target() const;

  const std::string m_strPath;
  State m_enState = kMissing;
  std::string m_strText;
  std::string m_strFault;
  struct stat m_status {};    // of what was read; all zero while it is missing
  bool m_bMayBeStale = true;  // it was changed so shortly before it was read that a later change may bear the same time
};
