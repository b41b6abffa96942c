// The file the trace goes to: private, appended to, turned over at a size limit.
#pragma once

#include "Files.h"

#include <sys/stat.h>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

/// Every line is handed to the system at once, so nothing is lost when the process ends in whatever way.
/// Threads: any. Several processes may write to one file.
/// Errors:  a line that cannot be written is dropped; a file that cannot be opened is tried again after a second.
class CTraceFile {
public:
  /// @param bSync  wait until it is on the disk.
  void Write(const std::string& strLine, bool bSync);
  /// @return empty when the file is open, else why it cannot be opened.
  std::string Check();
  void Sync();

private:
  void FollowPathsLocked();
  bool OpenLocked();
  bool IsInPlaceLocked() const;
  void LookAroundLocked();
  void TurnOverLocked();

  std::mutex m_lock;
  // guarded by m_lock
  unsigned int m_uPathsGeneration = 0;
  std::string m_strPath;
  files::CDescriptor m_file;
  bool m_bIsRegular = false;    // a device or a pipe is never turned over
  bool m_bTorn = false;         // the last line was cut off by a full disk
  bool m_bDirty = false;        // written since the last Sync()
  std::int64_t m_iRetryNs = 0;  // not to be opened before
  std::size_t m_nSize = 0;      // of the file, as far as we know
  unsigned int m_uLines = 0;    // since we looked whether the file is still in its place
};
