// The local store: messages that an earlier run stored and could not delete on the device any more.
#include "FileSMSImpl.h"
#include "MsgTime.h"
#include "SMSRecordImpl.h"
#include "SMSRecordSetImpl.h"
#include "StoreTrace.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <string_view>

namespace {

typedef std::u16string_view Text;

/// A part and its place in a long message; total 0: a message of its own.
struct Place {
  int mr = 0;
  int total = 0;
  int part = 0;
  bool operator==(const Place& other) const { return mr == other.mr && total == other.total && part == other.part; }
};

Place PlaceOf(const ISMSRecord& record) {
  Place place;
  record.GetMSGInfo(place.mr, place.total, place.part);
  return place;
}

std::size_t KeyOf(const ISMSRecord& record) {
  const std::hash<Text> hash;
  return hash(record.GetNumber()) * 31 + hash(record.GetTime());
}

bool IsSamePlaceAndText(const ISMSRecord& stored, const ISMSRecord& found) {
  return PlaceOf(stored) == PlaceOf(found) && Text(stored.GetContent()) == found.GetContent();
}

/// The whole has the time of the part that completed it, and that part's text where the part belongs.
bool IsCompletedBy(const ISMSRecord& stored, const ISMSRecord& found) {
  const Place place = PlaceOf(found);
  const Text whole = stored.GetContent();
  const Text part = found.GetContent();
  if (place.total < 2 || PlaceOf(stored).total != 0 || part.empty() || part.size() >= whole.size()) {
    return false;
  }
  const std::size_t at = place.part == place.total ? whole.size() - part.size()
                         : place.part == 1         ? 0
                                                   : whole.find(part);
  return at != Text::npos && whole.compare(at, part.size(), part) == 0;
}

/// A message in the recycle box, or in another box, is no copy of one that has just come.
bool IsSameMessage(const ISMSRecord& stored, const ISMSRecord& found) {
  return stored.GetPosition() == found.GetPosition() && stored.GetMSGType() == found.GetMSGType() &&
         Text(stored.GetNumber()) == found.GetNumber() && Text(stored.GetTime()) == found.GetTime() &&
         (IsSamePlaceAndText(stored, found) || IsCompletedBy(stored, found));
}

struct ReleaseRecord {
  void operator()(ISMSRecord* pRecord) const { pRecord->Release(); }
};

}  // namespace

void CFileSMSImpl::NoteEarlierRow(const ISMSRecord& record) {
  if (!m_bInit && record.GetInitialPosition() == NS_SMS::RECEIVE_BOX) {
    m_vctEarlier.emplace_back(KeyOf(record), record.GetMSGID());
  }
}

bool CFileSMSImpl::RecogniseCopy(CSMSRecordImpl& record) {
  return RunQuietly("CFileSMSImpl::RecogniseCopy() exception!", [&]() -> long {
           std::vector<long> mergedIds;
           {
             GetReocrdList();
             CISAPUGuard<JMutex> lock(m_MutexCombine);
             const std::unique_ptr<ISMSRecord, ReleaseRecord> stored(TakeEarlierRow(record));
             if (stored == nullptr) {
               return -1;
             }
             if (!IsSamePlaceAndText(*stored, record)) {
               mergedIds = PartsLeftBeside(*stored, record);
               m_vctMerging.insert(m_vctMerging.end(), mergedIds.begin(), mergedIds.end());
             }
             record = stored.get();
           }
           RemoveMergedParts(mergedIds);
           return 0;
         }) == 0;
}

ISMSRecord* CFileSMSImpl::TakeEarlierRow(const ISMSRecord& found) {
  CISAPUGuard<JMutex> lock(m_MutexReadSMS);
  if (!std::is_sorted(m_vctEarlier.begin(), m_vctEarlier.end())) {
    std::sort(m_vctEarlier.begin(), m_vctEarlier.end());
  }
  const std::size_t uKey = KeyOf(found);
  const auto first = std::lower_bound(m_vctEarlier.begin(), m_vctEarlier.end(), std::make_pair(uKey, 0L));
  for (auto it = first; it != m_vctEarlier.end() && it->first == uKey && m_pLocalRecordSet != nullptr; ++it) {
    std::unique_ptr<ISMSRecord, ReleaseRecord> stored(m_pLocalRecordSet->GetSMSRecordCopy(it->second));
    if (stored == nullptr || !IsSameMessage(*stored, found)) {
      continue;
    }
    if (IsSamePlaceAndText(*stored, found)) {
      m_vctEarlier.erase(it);  // one row answers for one message
    }
    return stored.release();
  }
  return nullptr;
}

/// Parts that the whole holds already: the earlier run ended before it removed them.
std::vector<long> CFileSMSImpl::PartsLeftBeside(const ISMSRecord& whole, const ISMSRecord& found) {
  std::vector<long> ids;
  MsgTime time;
  if (!ReadMsgTime(found.GetTime(), time) || !time.IsDateValid()) {
    return ids;
  }
  for (const CSMSRecordImpl& part : CollectParts(found, time.Seconds())) {
    if (PlaceOf(part).part != PlaceOf(found).part && Text(whole.GetContent()).find(part.GetContent()) != Text::npos) {
      ids.push_back(part.GetMSGID());
    }
  }
  return ids;
}
