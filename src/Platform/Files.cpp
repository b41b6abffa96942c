// Folders and file descriptors.
#include "Files.h"

#include <sys/stat.h>

namespace files {

namespace {
const mode_t kPrivateFolder = 0700;
}  // namespace

std::string FolderOf(const std::string& strPath) {
  const std::size_t nAt = strPath.find_last_of('/');
  if (nAt == std::string::npos) {
    return ".";
  }
  return nAt == 0 ? "/" : strPath.substr(0, nAt);
}

bool MakeFolders(const std::string& strFolder) {
  struct stat status;
  if (stat(strFolder.c_str(), &status) == 0) {
    return S_ISDIR(status.st_mode);
  }
  if (errno != ENOENT || strFolder.empty() || strFolder == "." || strFolder == "/") {
    return false;
  }
  if (!MakeFolders(FolderOf(strFolder))) {
    return false;
  }
  return mkdir(strFolder.c_str(), kPrivateFolder) == 0 || errno == EEXIST;
}

std::size_t WriteAll(int iDescriptor, const char* pData, std::size_t nSize) {
  std::size_t nDone = 0;
  while (nDone < nSize) {
    const ssize_t nWritten = write(iDescriptor, pData + nDone, nSize - nDone);
    if (nWritten < 0 && errno == EINTR) {
      continue;
    }
    if (nWritten <= 0) {
      break;
    }
    nDone += static_cast<std::size_t>(nWritten);
  }
  return nDone;
}

}  // namespace files
