// The file the trace goes to.
#include "TraceFile.h"

#include "MonotonicCondition.h"
#include "PathsInForce.h"
#include "platform/PlatformPaths.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

const std::size_t kTurnOverSize = 2U << 20;
const int kOldFiles = 3;
const mode_t kPrivateFile = 0600;
const std::int64_t kRetryMs = 1000;
const unsigned int kLinesBetweenLooks = 64;

}  // namespace

void CTraceFile::Write(const std::string& strLine, bool bSync) {
  const std::lock_guard<std::mutex> guard(m_lock);
  FollowPathsLocked();
  if (!m_file.IsOpen() && !OpenLocked()) {
    return;
  }
  if (m_uLines++ == kLinesBetweenLooks) {
    LookAroundLocked();
    if (!m_file.IsOpen()) {
      return;
    }
  }
  if (m_bTorn) {
    m_nSize += files::WriteAll(m_file.Get(), "\n", 1);
  }
  const std::size_t nWritten = files::WriteAll(m_file.Get(), strLine.data(), strLine.size());
  m_bTorn = nWritten != strLine.size() && (nWritten != 0 || m_bTorn);
  m_bDirty = true;
  m_nSize += nWritten;
  if (bSync) {
    m_bDirty = fdatasync(m_file.Get()) != 0;
  }
  if (m_nSize >= kTurnOverSize && m_bIsRegular) {
    TurnOverLocked();
  }
}

std::string CTraceFile::Check() {
  const std::lock_guard<std::mutex> guard(m_lock);
  FollowPathsLocked();
  m_iRetryNs = 0;
  return m_file.IsOpen() || OpenLocked() ? std::string() : std::strerror(errno);
}

void CTraceFile::Sync() {
  const std::lock_guard<std::mutex> guard(m_lock);
  if (m_bDirty && m_file.IsOpen()) {
    m_bDirty = fdatasync(m_file.Get()) != 0;
  }
}

void CTraceFile::FollowPathsLocked() {
  const unsigned int uGeneration = paths_in_force::Generation();
  if (uGeneration != m_uPathsGeneration) {
    m_uPathsGeneration = uGeneration;
    m_strPath = GetPlatformPaths().strLogFile;
    m_file.Reset(-1);
    m_iRetryNs = 0;
  }
}

bool CTraceFile::OpenLocked() {
  const std::int64_t iNowNs = CMonotonicCondition::NowNs();
  if (iNowNs < m_iRetryNs) {
    return false;
  }
  m_iRetryNs = iNowNs + kRetryMs * CMonotonicCondition::kNsPerMs;
  struct stat status;
  files::MakeFolders(files::FolderOf(m_strPath));
  m_file.Reset(
      open(m_strPath.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, kPrivateFile));
  if (!m_file.IsOpen() || fstat(m_file.Get(), &status) != 0) {
    m_file.Reset(-1);
    return false;
  }
  m_bIsRegular = S_ISREG(status.st_mode);
  m_nSize = static_cast<std::size_t>(status.st_size);
  m_uLines = 0;
  m_bTorn = false;
  m_iRetryNs = 0;
  return true;
}

bool CTraceFile::IsInPlaceLocked() const {
  struct stat ours;
  struct stat named;
  return fstat(m_file.Get(), &ours) == 0 && stat(m_strPath.c_str(), &named) == 0 && ours.st_ino == named.st_ino &&
         ours.st_dev == named.st_dev;
}

/// Others may write to the file too, turn it over or remove it.
void CTraceFile::LookAroundLocked() {
  m_uLines = 0;
  struct stat status;
  if (!m_bIsRegular || !IsInPlaceLocked()) {
    OpenLocked();
  } else if (fstat(m_file.Get(), &status) == 0) {
    m_nSize = static_cast<std::size_t>(status.st_size);
  }
}

/// Of several processes that reach the limit together, the first moves the files and the others follow.
void CTraceFile::TurnOverLocked() {
  flock(m_file.Get(), LOCK_EX);
  if (IsInPlaceLocked()) {
    for (int i = kOldFiles - 1; i >= 0; --i) {
      const std::string strFrom = i == 0 ? m_strPath : m_strPath + "." + std::to_string(i);
      std::rename(strFrom.c_str(), (m_strPath + "." + std::to_string(i + 1)).c_str());
    }
  }
  OpenLocked();
}
