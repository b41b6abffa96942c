// The files of a database: where they lie, who may read them, and what becomes of damaged ones.
#include "LocalDatabaseFile.h"

#include "platform/JClock.h"
#include "platform/JEvent.h"
#include "platform/JTime.h"
#include "platform/PlatformPaths.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

const char kMessageConnection[] = "SmsDBConnection";
const char kMessageFile[] = "SMS";
const char kFolder[] = "/userdata/";
const char kExtension[] = ".DTC";
constexpr std::size_t kMaxFileName = 200;
constexpr unsigned int kPollMs = 20;
constexpr mode_t kPrivateFile = 0600;
constexpr mode_t kPrivateFolder = 0700;
const char kLog[] = "-wal";
const char kLogIndex[] = "-shm";
const char kJournal[] = "-journal";  // of a file that has no log yet

std::string SystemReason(const std::string& what) { return what + ": " + std::strerror(errno); }

// Letters, digits, '_' and '-' stand for themselves, everything else for its number: no name leaves the folder, and
// no two names share a file.
std::string SafeFileName(const std::string& name) {
  std::string safe;
  for (const char c : name) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '-') {
      safe += c;
    } else {
      char number[4];
      std::snprintf(number, sizeof number, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
      safe += number;
    }
  }
  return safe == kMessageFile ? "%53MS" : safe;
}

void SyncFolder(const std::string& folder) {
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd >= 0) {
    ::fsync(fd);
    ::close(fd);
  }
}

std::string ParentOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == std::string::npos || slash == 0 ? "/" : path.substr(0, slash);
}

bool MakeFolders(const std::string& folder, std::string& reason) {
  struct stat status;
  if (::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
    return true;
  }
  const std::string parent = ParentOf(folder);
  if (parent != folder && !MakeFolders(parent, reason)) {
    return false;
  }
  if (::mkdir(folder.c_str(), kPrivateFolder) != 0) {
    if (errno == EEXIST && ::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
      return true;  // somebody else made it just now
    }
    reason = SystemReason("cannot make the folder \"" + folder + "\"");
    return false;
  }
  SyncFolder(parent);  // a message saved in it must not vanish together with its folder
  return true;
}

void CloseToOthers(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) == 0 && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    ::chmod(path.c_str(), kPrivateFile);
  }
}

off_t SizeOf(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 ? status.st_size : -1;
}

bool Exists(const std::string& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0;
}

bool LockWithin(int fd, int operation, unsigned int uLimitMs) {
  const std::int64_t deadline = JClock::MonotonicMs() + uLimitMs;
  while (::flock(fd, operation | LOCK_NB) != 0) {
    if ((errno != EWOULDBLOCK && errno != EINTR) || JClock::MonotonicMs() >= deadline) {
      return false;
    }
    JEvent pause;
    pause.WaitForSingleObject(kPollMs);
  }
  return true;
}

std::string FreeNameFor(const std::string& path) {
  const JTime now = JTime::CurrentLocalDateTime();
  char date[80];
  std::snprintf(date, sizeof date, ".damaged-%04d%02d%02d-%02d%02d%02d", now.year(), now.month(), now.day(), now.hour(),
                now.minute(), now.second());
  std::string name = path + date;
  for (int i = 2; Exists(name); ++i) {
    name = path + date + "-" + std::to_string(i);
  }
  return name;
}

}  // namespace

std::string DatabasePath(const std::string& name) {
  const std::string file = name == kMessageConnection ? kMessageFile : SafeFileName(name);
  return file.size() > kMaxFileName ? std::string() : GetPlatformPaths().strUserDataDir + kFolder + file + kExtension;
}

bool CDatabaseFile::Claim(const std::string& path, std::string& reason) {
  Release();
  if (!MakeFolders(ParentOf(path), reason)) {
    return false;
  }
  m_strPath = path;
  m_iLock = ::open((path + "-lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kPrivateFile);
  if (m_iLock < 0) {
    reason = SystemReason("cannot write into its folder");
    return false;
  }
  if (!LockWithin(m_iLock, LOCK_SH, kDatabaseWaitMs)) {
    reason = "another program is setting it aside";
    return false;
  }
  return MakeFile(reason);
}

bool CDatabaseFile::TryClaimAlone() { return ::flock(m_iLock, LOCK_EX | LOCK_NB) == 0; }

void CDatabaseFile::ClaimShared() { LockWithin(m_iLock, LOCK_SH, kDatabaseWaitMs); }

void CDatabaseFile::Unclaim() { ::flock(m_iLock, LOCK_UN); }

void CDatabaseFile::Release() {
  if (m_iLock >= 0) {
    ::close(m_iLock);
    m_iLock = -1;
  }
}

// Not open(): closing a descriptor of the file would drop the locks that the engine holds on it in this process.
bool CDatabaseFile::MakeFile(std::string& reason) const {
  struct stat status;
  if (::mknod(m_strPath.c_str(), S_IFREG | kPrivateFile, 0) != 0 && errno != EEXIST) {
    reason = SystemReason("cannot make the file");
    return false;
  }
  if (::stat(m_strPath.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
    reason = "something that is no file has its name";
    return false;
  }
  CloseToOthers(m_strPath);
  for (const char* pszCompanion : {kLog, kLogIndex, kJournal}) {
    CloseToOthers(m_strPath + pszCompanion);
  }
  return true;
}

// The engine writes whole pages, of 512 octets at least; a page it was killed in is still in the log.
bool CDatabaseFile::IsCut(std::string& reason) const {
  constexpr off_t kSmallestPage = 512;
  const off_t size = SizeOf(m_strPath);
  const bool bHasLog = SizeOf(m_strPath + kLog) > 0 || SizeOf(m_strPath + kJournal) > 0;
  if (size == 0 && bHasLog) {
    reason = "it is empty, but its log is not";  // which the engine would throw away
    return true;
  }
  if (size % kSmallestPage != 0 && !bHasLog) {
    reason = "it ends within a page";
    return true;
  }
  return false;
}

bool CDatabaseFile::SetAside(std::string& kept, std::string& reason) {
  kept = FreeNameFor(m_strPath);
  if (::rename(m_strPath.c_str(), kept.c_str()) != 0) {
    reason += SystemReason(", and it cannot be renamed");
    return false;
  }
  ::unlink((m_strPath + kLogIndex).c_str());  // made anew from the log
  for (const char* pszLog : {kLog, kJournal}) {
    const std::string log = m_strPath + pszLog;
    const int iMoved = SizeOf(log) == 0 ? ::unlink(log.c_str()) : ::rename(log.c_str(), (kept + pszLog).c_str());
    if (iMoved != 0 && errno != ENOENT) {
      reason += SystemReason(", and its log cannot be renamed");
      return false;
    }
  }
  SyncFolder(ParentOf(m_strPath));
  return MakeFile(reason);
}
