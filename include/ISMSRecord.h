// One message as clients see it.
#pragma once

#include "IBaseInterface.h"
#include "SMSDef.h"

/// Ownership: a record from ISMSService::CreateSMSRecord or ISMSRecordSet::GetSMSRecordCopy belongs to the caller, who
/// ends it with Release(), never through a null pointer, or with ISMSService::ReleaseSMSRecord. Records handed to
///   callbacks live during the call only.
/// Threads: no lock; one holder at a time.
/// Text: pointers returned live until the field is changed or the record ends. Setters copy; null changes nothing.
/// Time: fourteen digits of local time, YYYYMMDDhhmmss; received messages keep the text that came with them.
class ISMSRecord : public IBaseInterface {
public:
  /// The other party's number; a message being composed may carry several, separated by "," or ";".
  virtual const VELK_wchar_t* GetNumber() const = 0;
  virtual void SetNumber(const VELK_wchar_t* pszNumber) = 0;
  virtual const VELK_wchar_t* GetContent() const = 0;
  virtual void SetContent(const VELK_wchar_t* pszContent) = 0;
  virtual const VELK_wchar_t* GetTime() const = 0;
  virtual void SetTime(const VELK_wchar_t* pszTime) = 0;

  // Plain values, stored and returned unchecked.
  virtual int GetIsRead() const = 0;  ///< NS_SMS::READ_TAG
  virtual void SetIsRead(int iIsRead) = 0;
  virtual int GetInitialPosition() const = 0;  ///< NS_SMS::MSG_POSITION where it arrived or was made
  virtual void SetInitialPosition(int iPosition) = 0;
  virtual int GetPosition() const = 0;  ///< NS_SMS::MSG_POSITION where it is now
  virtual void SetPosition(int iPosition) = 0;
  virtual int GetSendResult() const = 0;  ///< NS_SMS::SEND_RESULT
  virtual void SetSendResult(int iResult) = 0;
  virtual int GetMSGType() const = 0;  ///< NS_SMS::MSG_TYPE
  virtual void SetMSGType(int iType) = 0;
  /// Identifier within the store that holds the record; -1: not stored yet.
  virtual long GetMSGID() const = 0;
  virtual void SetMSGID(long lID) = 0;
  /// Long-message reference, number of parts, this part counted from 1; all 0 for a single message.
  virtual void GetMSGInfo(int& iMR, int& iTotalPack, int& iCurrentPack) const = 0;
  virtual void SetMSGInfo(int iMR, int iTotalPack, int iCurrentPack) = 0;
  /// Stamps the present local time, except on received messages and reports, and on a scheduled message with a time.
  virtual void InitToCurrTime() = 0;
  virtual int GetSMSPriority() const = 0;  ///< NS_SMS::SMS_PRIORITY
  virtual void SetSMSPriority(int iPriority) = 0;
  virtual int GetSMSClass() const = 0;  ///< NS_SMS::MS_CLASS
  virtual void SetSMSClass(int iClass) = 0;
  /// Copies every field of another record; null changes nothing.
  virtual ISMSRecord& operator=(const ISMSRecord* pOther) = 0;
  virtual ~ISMSRecord() {}
};
