// Folders and file descriptors, without exceptions.
#pragma once

#include <unistd.h>
#include <cerrno>
#include <cstddef>
#include <string>

namespace files {

/// Closes it at the end of the scope. Not for -1 only: -1 is simply none.
class CDescriptor {
public:
  explicit CDescriptor(int iDescriptor = -1) : m_iDescriptor(iDescriptor) {}
  ~CDescriptor() { Reset(-1); }
  CDescriptor(const CDescriptor&) = delete;
  CDescriptor& operator=(const CDescriptor&) = delete;

  bool IsOpen() const { return m_iDescriptor >= 0; }
  int Get() const { return m_iDescriptor; }
  void Reset(int iDescriptor) {
    if (m_iDescriptor >= 0) {
      close(m_iDescriptor);
    }
    m_iDescriptor = iDescriptor;
  }

private:
  int m_iDescriptor;
};

/// The folder a path lies in: "." without a separator.
std::string FolderOf(const std::string& strPath);
/// Makes the folder and those above it, mode 0700; folders that exist stay as they are.
bool MakeFolders(const std::string& strFolder);
/// @return bytes written; fewer than asked for: errno says why.
std::size_t WriteAll(int iDescriptor, const char* pData, std::size_t nSize);

}  // namespace files
