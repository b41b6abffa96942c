// The files of a database: where they lie, who may read them, and what becomes of damaged ones.
#pragma once

#include <string>

/// Longest wait for other threads and other programs.
constexpr unsigned int kDatabaseWaitMs = 10000;

/// Path of the database of that connection name; empty when the name is too long for a file.
std::string DatabasePath(const std::string& name);

/// A claim on the files of one database, held while it is open: any number of programs may use them, one alone may set
/// them aside. The claim is a lock on a file of its own ("SMS.DTC-lock"), because the engine's locks on the database
/// would be lost if anybody else opened and closed it.
/// Threads: one at a time. Errors: false, and a reason for a person.
class CDatabaseFile {
public:
  CDatabaseFile() = default;
  ~CDatabaseFile() { Release(); }
  CDatabaseFile(const CDatabaseFile&) = delete;
  CDatabaseFile& operator=(const CDatabaseFile&) = delete;

  /// Makes missing folders (0700) and the file (0600), closes existing files to other users, claims them.
  bool Claim(const std::string& path, std::string& reason);
  /// Makes this the only claim.
  /// @return false: somebody else has one, and this one is gone.
  bool TryClaimAlone();
  /// Makes it an ordinary claim again.
  void ClaimShared();
  void Unclaim();
  /// Gives the claim up and forgets the file.
  void Release();

  const std::string& Path() const { return m_strPath; }
  /// Whether the file has lost its end in a way that the engine would not notice.
  bool IsCut(std::string& reason) const;
  /// Renames the file and its log to a name with the date that nothing else has, and makes an empty file.
  /// @param kept  out: the new name.
  bool SetAside(std::string& kept, std::string& reason);

private:
  bool MakeFile(std::string& reason) const;

  std::string m_strPath;
  int m_iLock = -1;
};
