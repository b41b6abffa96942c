// Keeps the dialogue with a modem in a file, for a report of what went wrong.
#pragma once

#include "ByteStream.h"
#include "DialogueRecord.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

namespace modem {

/// A line that everything goes through unchanged. Each line of the record is in the file when it has ended.
class CRecordedStream : public IByteStream {
public:
  /// @param line    taken, unless the result is null.
  /// @param path    a file that only its owner may read; appended to, so that a return of the modem loses nothing.
  /// @param masked  numbers and texts are made unreadable.
  /// @return null: *error names the file and says why.
  static std::unique_ptr<IByteStream> Make(std::unique_ptr<IByteStream>& line, const std::string& path, bool masked,
                                           std::string& error);
  ~CRecordedStream() override;

  bool Read(std::string& bytes) override;
  bool Write(const std::string& bytes) override;
  void Close() override { m_pLine->Close(); }

private:
  struct CloseFile {
    void operator()(std::FILE* pFile) const { std::fclose(pFile); }
  };
  typedef std::unique_ptr<std::FILE, CloseFile> File;

  CRecordedStream(std::unique_ptr<IByteStream> line, File file, bool masked);
  void Keep(const std::string& line);
  void Take(const std::string& bytes, bool fromModem);

  const std::unique_ptr<IByteStream> m_pLine;
  const File m_pFile;
  const std::int64_t m_llStartMs;
  std::mutex m_lock;  // the rest
  bool m_bKept = true;
  sms_pdu::CDialogueRecorder m_recorder;
};

/// Keeps the lines to one modem, from its start on, in one file.
/// Threads: one at a time.
class CRecording {
public:
  /// Parameters and result as above. A line that cannot be recorded is closed when it is the first; a modem that comes
  /// back is worth more than its record, and the trace says once what is missing.
  std::unique_ptr<IByteStream> Begin(std::unique_ptr<IByteStream> line, const std::string& path, bool masked,
                                     std::string& error);

private:
  bool m_bBegun = false;
  bool m_bTold = false;  // that the record has ended
};

}  // namespace modem
