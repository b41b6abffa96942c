// One message as clients see it.
#pragma once

#include "ISMSRecord.h"

#include <atomic>
#include <cstdint>

/// A record's place in the set that holds it. It belongs to the object, not to its value: copies are in no set, and an
/// object that is assigned to, or moved from, stays where it is, with the set's look-up keys marked as changed.
class CPlaceInSet {
public:
  CPlaceInSet() = default;
  CPlaceInSet(const CPlaceInSet&) noexcept {}
  CPlaceInSet(CPlaceInSet&& other) noexcept { other.NoteKeyChange(); }
  CPlaceInSet& operator=(const CPlaceInSet&) noexcept {
    NoteKeyChange();
    return *this;
  }
  CPlaceInSet& operator=(CPlaceInSet&& other) noexcept {
    NoteKeyChange();
    other.NoteKeyChange();
    return *this;
  }

  /// @param pbKeysChanged  the set's mark; must outlive the place.
  /// @param ullOrder       rises along the set's list.
  void Enter(std::atomic<bool>* pbKeysChanged, std::uint64_t ullOrder) noexcept {
    m_pbKeysChanged = pbKeysChanged;
    m_ullOrder = ullOrder;
  }
  void NoteKeyChange() noexcept {
    if (m_pbKeysChanged != nullptr) {
      m_pbKeysChanged->store(true, std::memory_order_relaxed);
    }
  }
  std::uint64_t Order() const noexcept { return m_ullOrder; }

private:
  std::atomic<bool>* m_pbKeysChanged = nullptr;
  std::uint64_t m_ullOrder = 0;
};

/// The constructors differ in their initial values on purpose: the stores and the service rely on them.
class CSMSRecordImpl : public ISMSRecord {
public:
  /// A draft: both positions DRAFT_BOX, identifier 0.
  CSMSRecordImpl();
  /// What is known is the identity alone: position RECYCLE_BOX, otherwise a draft. Write 0L: a plain 0 could be a null
  /// record as well.
  explicit CSMSRecordImpl(long lID);
  /// A copy of any record. Of null: everything 0 (SEND_BOX, SUCCESS, normal priority), class 3.
  explicit CSMSRecordImpl(const ISMSRecord* pOther);
  CSMSRecordImpl(const CSMSRecordImpl&) = default;
  CSMSRecordImpl(CSMSRecordImpl&&) = default;
  CSMSRecordImpl& operator=(const CSMSRecordImpl&) = default;
  CSMSRecordImpl& operator=(CSMSRecordImpl&&) = default;
  ~CSMSRecordImpl() override;

  /// Destroys the record.
  void Release() override;
  /// Always 0.
  int GetLastError() override;

  const VELK_wchar_t* GetNumber() const override;
  void SetNumber(const VELK_wchar_t* pszNumber) override;
  const VELK_wchar_t* GetContent() const override;
  void SetContent(const VELK_wchar_t* pszContent) override;
  const VELK_wchar_t* GetTime() const override;
  void SetTime(const VELK_wchar_t* pszTime) override;
  int GetIsRead() const override;
  void SetIsRead(int iIsRead) override;
  int GetInitialPosition() const override;
  void SetInitialPosition(int iPosition) override;
  int GetPosition() const override;
  void SetPosition(int iPosition) override;
  int GetSendResult() const override;
  void SetSendResult(int iResult) override;
  int GetMSGType() const override;
  void SetMSGType(int iType) override;
  long GetMSGID() const override;
  void SetMSGID(long lID) override;
  void GetMSGInfo(int& iMR, int& iTotalPack, int& iCurrentPack) const override;
  void SetMSGInfo(int iMR, int iTotalPack, int iCurrentPack) override;
  void InitToCurrTime() override;
  int GetSMSPriority() const override;
  void SetSMSPriority(int iPriority) override;
  int GetSMSClass() const override;
  void SetSMSClass(int iClass) override;
  CSMSRecordImpl& operator=(const ISMSRecord* pOther) override;

  /// Gives the memory of the three texts back, leaving them empty: for owners that deallocate a record without running
  /// its destructor.
  void FreeTexts() noexcept;

private:
  friend class CSMSRecordSetImpl;
  friend class CSMSRecordIndex;

  bool KeepsItsTime() const;

  VELK_wstring m_strNumber;
  VELK_wstring m_strContent;
  VELK_wstring m_strTime;
  int m_enIsRead;
  int m_enInitialPosition;
  int m_enPosition;
  int m_enSendResult;
  int m_enMSGType;
  int m_enMSClass;
  long m_lID;
  int m_iMR;
  int m_iTotalPack;
  int m_iCurrentPack;
  int m_iSMSPriority;
  CPlaceInSet m_place;  // not part of the message
};
