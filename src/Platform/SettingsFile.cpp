// The settings file on disk.
#include "SettingsFile.h"

#include "Files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

const mode_t kPrivateFile = 0600;
const off_t kMaxSize = 1 << 20;  // a settings file is small; whatever is larger was put there by mistake
const int kMaxLinks = 40;

// File times move in steps: of the system's tick, or of whole seconds on old file systems. A change within the step of
// the last one does not show in them.
const std::int64_t kStepMs = 100;
const std::int64_t kCoarseStepMs = 2500;

std::int64_t Milliseconds(const timespec& time) {
  return static_cast<std::int64_t>(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

bool IsRecent(const struct stat& status) {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  const std::int64_t iStepMs = status.st_mtim.tv_nsec == 0 ? kCoarseStepMs : kStepMs;
  return Milliseconds(now) - Milliseconds(status.st_mtim) < iStepMs;
}

bool IsSame(const struct stat& first, const struct stat& second) {
  return first.st_ino == second.st_ino && first.st_dev == second.st_dev && first.st_size == second.st_size &&
         first.st_mtim.tv_sec == second.st_mtim.tv_sec && first.st_mtim.tv_nsec == second.st_mtim.tv_nsec &&
         first.st_ctim.tv_sec == second.st_ctim.tv_sec && first.st_ctim.tv_nsec == second.st_ctim.tv_nsec;
}

bool ReadAll(int iDescriptor, std::string& strText) {
  strText.clear();
  char buffer[4096];
  for (;;) {
    const ssize_t nRead = read(iDescriptor, buffer, sizeof(buffer));
    if (nRead < 0 && errno == EINTR) {
      continue;
    }
    if (nRead <= 0) {
      return nRead == 0;
    }
    strText.append(buffer, static_cast<std::size_t>(nRead));
    if (strText.size() > static_cast<std::size_t>(kMaxSize)) {
      errno = EFBIG;
      return false;
    }
  }
}

void SyncFolder(const std::string& strFolder) {
  const files::CDescriptor folder(open(strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.IsOpen()) {
    fsync(folder.Get());
  }
}

}  // namespace

CSettingsFile::CTurn::CTurn(const CSettingsFile& file) : m_iFolder(-1) {
  const std::string strFolder = files::FolderOf(file.Target());
  files::MakeFolders(strFolder);
  m_iFolder = open(strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (m_iFolder >= 0) {
    flock(m_iFolder, LOCK_EX);
  }
}

CSettingsFile::CTurn::~CTurn() {
  if (m_iFolder >= 0) {
    close(m_iFolder);
  }
}

bool CSettingsFile::MayHaveChanged() const {
  struct stat status;
  if (stat(m_strPath.c_str(), &status) != 0) {
    return m_enState != kMissing || errno != ENOENT;
  }
  return m_bMayBeStale || !IsSame(status, m_status);
}

bool CSettingsFile::Read() {
  const files::CDescriptor file(open(m_strPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (file.IsOpen()) {
    return ReadOpen(file.Get());
  }
  const bool bMissing = errno == ENOENT;
  if (!bMissing) {
    SetUnusable(std::string("cannot be read: ") + std::strerror(errno) + ". Make it readable for this user");
    return true;
  }
  const bool bWasMissing = m_enState == kMissing;
  m_enState = kMissing;
  m_strText.clear();
  m_strFault.clear();
  m_status = {};
  return !bWasMissing;
}

bool CSettingsFile::ReadOpen(int iDescriptor) {
  struct stat status;
  std::string strText;
  if (fstat(iDescriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    SetUnusable("is not a file. Put a file in its place");
    return true;
  }
  m_bMayBeStale = IsRecent(status);
  m_status = status;
  if (!ReadAll(iDescriptor, strText)) {
    SetUnusable(std::string("cannot be read: ") + std::strerror(errno) + ". Put a copy in its place");
    return true;
  }
  if (strText.find('\0') != std::string::npos) {
    SetUnusable("is damaged: it holds zero bytes. Put a copy in its place, in UTF-8, or remove it");
    return true;
  }
  const bool bChanged = m_enState != kUsable || strText != m_strText;
  m_enState = kUsable;
  m_strText.swap(strText);
  m_strFault.clear();
  return bChanged;
}

void CSettingsFile::SetUnusable(const std::string& strFault) {
  m_enState = kUnusable;
  m_strText.clear();
  m_strFault = strFault;
}

bool CSettingsFile::Replace(const std::string& strText) {
  const std::string strTarget = Target();
  const bool bNew = m_enState == kMissing;
  if (!bNew && access(strTarget.c_str(), W_OK) != 0) {
    return false;  // protected on purpose
  }
  const std::string strFolder = files::FolderOf(strTarget);
  std::string strTemporary = strFolder + "/.settings-XXXXXX";
  files::CDescriptor file(mkostemp(&strTemporary[0], O_CLOEXEC));
  if (!file.IsOpen()) {
    return false;
  }
  if (!bNew && (m_status.st_uid != geteuid() || m_status.st_gid != getegid())) {
    const int iIgnored = fchown(file.Get(), m_status.st_uid, m_status.st_gid);  // kept where it may be
    static_cast<void>(iIgnored);
  }
  const bool bWritten = fchmod(file.Get(), bNew ? kPrivateFile : m_status.st_mode & 07777) == 0 &&
                        files::WriteAll(file.Get(), strText.data(), strText.size()) == strText.size() &&
                        fsync(file.Get()) == 0;
  if (!bWritten || rename(strTemporary.c_str(), strTarget.c_str()) != 0) {
    unlink(strTemporary.c_str());
    return false;
  }
  SyncFolder(strFolder);
  Read();
  return true;
}

/// The file that a symbolic link means in the end, also when that does not exist yet.
std::string CSettingsFile::Target() const {
  std::string strTarget = m_strPath;
  char szLink[PATH_MAX];
  for (int i = 0; i < kMaxLinks; ++i) {
    const ssize_t nLength = readlink(strTarget.c_str(), szLink, sizeof(szLink));
    if (nLength <= 0) {
      break;
    }
    const std::string strLink(szLink, static_cast<std::size_t>(nLength));
    strTarget = strLink[0] == '/' ? strLink : files::FolderOf(strTarget) + "/" + strLink;
  }
  return strTarget;
}
