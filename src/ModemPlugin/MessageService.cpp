#include "MessageService.h"

#include "Guarded.h"
#include "KeptSettings.h"
#include "ModemStart.h"
#include "platform/TraceSrv.h"

#include <algorithm>
#include <cstring>

namespace modem {

namespace {

const unsigned int kLimitMs = 5000;
const unsigned int kStoreLimitMs = 20000;
const DWORD kUnknownError = 500;  // 3GPP TS 27.005, 3.2.5
const DWORD kInvalidIndex = 321;
const DWORD kInvalidParameter = 304;
const int kMemoryFull = 322;
const int kNoState = -1;
const DWORD kLongestValidity = 255;  // 63 weeks (3GPP TS 23.040, 9.2.3.12.1)
const MSG_HANDLE kNoMessage = 0xFFFFFFFF;

/// @return whether the command was carried out; the status says why not.
bool Settle(const AtReply& reply, DWORD* pdwStatus) {
  if (pdwStatus != nullptr) {
    *pdwStatus = reply.Status();
  }
  return reply.IsOk();
}

bool Accept(DWORD* pdwStatus) {
  if (pdwStatus != nullptr) {
    *pdwStatus = 0;
  }
  return true;
}

bool Refuse(DWORD* pdwStatus, DWORD status = kUnknownError) {
  if (pdwStatus != nullptr) {
    *pdwStatus = status;
  }
  return false;
}

/// Runs an operation; a failure that is no answer of the modem tells the unknown error.
template <class Operation>
bool Carry(DWORD* pdwStatus, Operation&& operation) {
  Refuse(pdwStatus);
  return Guarded(operation);
}

/// A message that is neither received nor sent is a draft.
int StoredStateOf(SMS_STAT enStat) {
  return enStat == SMS_STAT_ALL                               ? SMS_STAT_UNSENT
         : enStat >= SMS_STAT_UNREAD && enStat < SMS_STAT_ALL ? enStat
                                                              : kNoState;
}

/// "0,1,5,320-478"; what makes no sense is left out.
std::vector<CBS_MID> RangesOf(const std::string& list) {
  std::vector<CBS_MID> ranges;
  for (std::size_t begin = 0; begin < list.size();) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    const std::string item = list.substr(begin, end - begin);
    const std::size_t dash = item.find('-');
    CBS_MID range = {};
    if (NumberOf(item.substr(0, dash), range.dwLeft) &&
        NumberOf(dash == std::string::npos ? item : item.substr(dash + 1), range.dwRight)) {
      ranges.push_back(range);
    }
    begin = end + 1;
  }
  return ranges;
}

template <class Item>
Item* ArrayOf(const std::vector<Item>& items) {
  Item* const array = new Item[items.size() + 1];
  std::copy(items.begin(), items.end(), array);
  return array;
}

}  // namespace

CMessageService::CMessageService(CModem& modem) : m_modem(modem) {
  m_config.dwValidity = kLongestValidity;
  m_config.enRevMode = RECEIVE_NEWSMS_AFTER_STORED;
  LoadKeptSettings(m_config);
  m_modem.KeepNetworkTime(WantsNetworkTime());
  m_modem.PreferDirect(m_config.enRevMode == RECEIVE_NEWSMS_DIRECT);
}

bool CMessageService::RegEventSink(IUniCommEvent* pSink) {
  return Guarded([&] { return m_modem.Events().AddSink(CEventRaiser::Source::kMessages, pSink); });
}

bool CMessageService::UnRegEventSink(IUniCommEvent* pSink) {
  return m_modem.Events().RemoveSink(CEventRaiser::Source::kMessages, pSink);
}

WMSConfigurationType CMessageService::Config() const {
  const std::lock_guard<std::mutex> guard(m_lock);
  return m_config;
}

bool CMessageService::SMSSendMsg(const SMS_PARAM& stParam, DWORD* pdwResult) {
  return Carry(pdwResult, [&] {
    PduLine line;
    const sms_pdu::PduError error = MakeSubmit(stParam, Config(), line);
    if (error != sms_pdu::PduError::None) {
      const std::string text = std::string("a message cannot be sent: ") + sms_pdu::ErrorText(error);
      TraceSrv_Trace(Tracelevel::TL_ERRO, "MODEM", text.c_str());
      return false;
    }
    return m_modem.QueueSend(line) && Accept(pdwResult);
  });
}

bool CMessageService::SMSSetBearer(SmsBear enBear, DWORD* pdwResult) {
  return Carry(pdwResult, [&] {
    // 3GPP TS 27.007, 7.21 counts the bearers as SmsBear does.
    CAtCommand command("+CGSMS=");
    return Settle(m_modem.Execute(command.Number(enBear), "+CGSMS:", kLimitMs), pdwResult);
  });
}

bool CMessageService::GetWMSConfig(WMSConfigurationType* pstConfig, DWORD* pdwStatus) {
  return Carry(pdwStatus, [&] {
    if (pstConfig == nullptr || !m_modem.IsAvailable()) {
      return false;
    }
    *pstConfig = Config();
    const std::string centre = m_modem.Facts().serviceCentre;
    std::memset(pstConfig->szSCNum, 0, sizeof pstConfig->szSCNum);
    centre.copy(pstConfig->szSCNum, sizeof pstConfig->szSCNum - 1);
    return Accept(pdwStatus);
  });
}

bool CMessageService::SetWMSConfig(WMSConfigurationType* pstConfig, DWORD* pdwStatus) {
  return Carry(pdwStatus, [&] {
    if (pstConfig == nullptr || !m_modem.IsAvailable()) {
      return false;
    }
    const std::string centre(pstConfig->szSCNum, strnlen(pstConfig->szSCNum, sizeof pstConfig->szSCNum));
    if (centre != m_modem.Facts().serviceCentre && !SetCentre(centre, pdwStatus)) {
      return false;
    }
    const bool direct = pstConfig->enRevMode == RECEIVE_NEWSMS_DIRECT;
    if (direct != (Config().enRevMode == RECEIVE_NEWSMS_DIRECT) && !Settle(m_modem.SetDirect(direct), pdwStatus)) {
      return false;
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!StoreKeptSettings(m_config, *pstConfig)) {
      TraceSrv_Trace(Tracelevel::TL_ERRO, "MODEM", "the message settings hold until the end of the program only");
    }
    m_config = *pstConfig;
    return Accept(pdwStatus);
  });
}

bool CMessageService::SetCentre(const std::string& centre, DWORD* pdwStatus) {
  const int kInternational = 145;
  const int kUnknown = 129;
  CAtCommand command("+CSCA=");
  command.Quoted(centre).Number(!centre.empty() && centre[0] == '+' ? kInternational : kUnknown);
  if (!Settle(m_modem.Execute(command, "+CSCA:", kLimitMs), pdwStatus)) {
    return false;
  }
  m_modem.SetServiceCentre(centre);
  return true;
}

// --- memories --------------------------------------------------------------------------------------------------------

bool CMessageService::SMSGetMsgList(SMS_MEM enMem, SMS_LIST* pstList, DWORD* pdwStatus) {
  return Carry(pdwStatus, [&] {
    if (pstList == nullptr) {
      return false;
    }
    const CModem::CMemoryHold hold(m_modem, enMem);
    CStoredMessages::Listing messages;
    if (!Settle(hold.IsOk() ? m_modem.ListHeld(messages) : AtReply(), pdwStatus)) {
      return false;
    }
    std::vector<MSG_HANDLE> indexes;
    for (const auto& message : messages) {
      indexes.push_back(message.first);
    }
    m_modem.Stored().Listed(enMem, std::move(messages));
    pstList->pList = ArrayOf(indexes);
    pstList->dwCount = static_cast<DWORD>(indexes.size());
    pstList->pSmReadRecord = nullptr;
    return true;
  });
}

void CMessageService::SMSReleaseMsgList(SMS_LIST* pstList) {
  if (pstList != nullptr) {
    delete[] pstList->pList;
    *pstList = SMS_LIST();
  }
}

bool CMessageService::SMSReadMsg(SMS_MEM enMem, MSG_HANDLE* phMsg, SMReadRecord* pstRecord, int iAlterMode,
                                 DWORD* pdwStatus) {
  return Carry(pdwStatus, [&] {
    if (phMsg == nullptr || pstRecord == nullptr || (enMem != SMS_MEM_SM && enMem != SMS_MEM_ME)) {
      return false;
    }
    StoredPdu message;
    const bool mark = iAlterMode == UNREAD_SM_ALTER;
    const bool listed = m_modem.IsAvailable() && !(mark && m_modem.ReadsQuietly()) &&
                        m_modem.Stored().TakeListed(enMem, *phMsg, message) && !message.hex.empty();
    if (!listed) {
      const CModem::CMemoryHold hold(m_modem, enMem);
      if (!Settle(hold.IsOk() ? m_modem.ReadHeld(*phMsg, !mark, message) : AtReply(), pdwStatus)) {
        return false;
      }
      if (message.hex.empty()) {
        return Refuse(pdwStatus, kInvalidIndex);
      }
    }
    const SMS_STAT state = m_modem.Stored().Read(enMem, *phMsg, message, mark);
    *pstRecord = ReadPdu(message.hex, state, m_modem.Rules());
    return Accept(pdwStatus);
  });
}

bool CMessageService::SMSDeleteMsg(SMS_MEM enMem, MSG_HANDLE hMsg, DWORD* pdwStatus) {
  return Carry(pdwStatus, [&] {
    if (hMsg == kNoMessage) {
      return Refuse(pdwStatus, kInvalidIndex);
    }
    const CModem::CMemoryHold hold(m_modem, enMem);
    const AtReply reply = hold.IsOk() ? m_modem.DeleteHeld(hMsg) : AtReply();
    if (reply.IsOk() || reply.code == static_cast<int>(kInvalidIndex)) {
      m_modem.Stored().Forget(enMem, hMsg);
    }
    return Settle(reply, pdwStatus);
  });
}

bool CMessageService::SMSSaveMsg(SMS_MEM enMem, SMS_PARAM* pstParam, MSG_HANDLE* phMsg, DWORD* pdwStatus) {
  return Carry(pdwStatus, [&] {
    PduLine line;
    if (pstParam == nullptr) {
      return false;
    }
    const int state = StoredStateOf(pstParam->enSMSStat);
    if (state == kNoState) {
      return Refuse(pdwStatus, kInvalidParameter);
    }
    if (!MakeStored(*pstParam, line)) {
      return false;
    }
    const CModem::CMemoryHold hold(m_modem, enMem);
    CAtCommand command("+CMGW=");
    command.Number(static_cast<long>(line.tpduOctets)).Number(state);
    const AtReply reply =
        hold.IsOk() ? m_modem.ExecuteWithOctets(command, line.hex, "+CMGW:", kStoreLimitMs) : AtReply();
    if (reply.final == AtReply::Final::kCmsError && reply.code == kMemoryFull) {
      m_modem.NoteFull(enMem, true);
    }
    if (!Settle(reply, pdwStatus)) {
      return false;
    }
    const std::vector<std::string> parameters =
        reply.lines.empty() ? std::vector<std::string>() : ParametersOf(reply.lines[0]);
    MSG_HANDLE index = kNoMessage;
    if (parameters.empty() || !NumberOf(parameters[0], index)) {
      return Refuse(pdwStatus);
    }
    m_modem.Stored().Forget(enMem, index);
    if (phMsg != nullptr) {
      *phMsg = index;
    }
    return true;
  });
}

bool CMessageService::MakeStored(const SMS_PARAM& part, PduLine& line) const {
  const bool received = part.enSMSStat == SMS_STAT_UNREAD || part.enSMSStat == SMS_STAT_READ;
  return (received ? MakeDeliver(part, line) : MakeSubmit(part, Config(), line)) == sms_pdu::PduError::None;
}

bool CMessageService::SMSGetMemInfo(SMS_MEM enMem, DWORD* pdwTotal, DWORD* pdwUsed, DWORD* pdwStatus) {
  return Carry(pdwStatus, [&] {
    const CModem::CMemoryHold hold(m_modem, enMem);
    // "+CPMS?" tells name, used and total of the memory that is chosen first.
    const AtReply reply = hold.IsOk() ? m_modem.Execute(CAtCommand("+CPMS?"), "+CPMS:", kLimitMs) : AtReply();
    if (!Settle(reply, pdwStatus)) {
      return false;
    }
    const std::vector<std::string> parameters =
        reply.lines.empty() ? std::vector<std::string>() : ParametersOf(reply.lines[0]);
    DWORD used = 0;
    DWORD total = 0;
    if (parameters.size() < 3 || !NumberOf(parameters[1], used) || !NumberOf(parameters[2], total)) {
      return Refuse(pdwStatus);
    }
    m_modem.NoteFull(enMem, total > 0 && used >= total);
    if (pdwUsed != nullptr) {
      *pdwUsed = used;
    }
    if (pdwTotal != nullptr) {
      *pdwTotal = total;
    }
    return true;
  });
}

int CMessageService::SMSGetAlterSupport(int /*iQuery*/, DWORD* pdwStatus) {
  if (pdwStatus != nullptr) {
    *pdwStatus = 0;
  }
  return 0;  // AT+CMGR marks a message read whatever is wanted
}

// --- cell broadcast (3GPP TS 27.005, 3.3.4) --------------------------------------------------------------------------

/// The switch is whether pages are handed over at all; the list of channels stays what it is.
bool CMessageService::CBSSetService(CBSStat enStat, DWORD* pdwStatus) {
  return Carry(pdwStatus, [&] { return Settle(m_modem.SetBroadcasts(enStat == CBS_STAT_OPEN), pdwStatus); });
}

bool CMessageService::CBSGetDetail(CBSStat* penStat, CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) {
  return Carry(pdwStatus, [&] {
    const AtReply reply = m_modem.Execute(CAtCommand("+CSCB?"), "+CSCB:", kLimitMs);
    if (!Settle(reply, pdwStatus)) {
      return false;
    }
    const std::vector<std::string> parameters =
        reply.lines.empty() ? std::vector<std::string>() : ParametersOf(reply.lines[0]);
    // mode 1 lists what is not wanted
    const bool chosen = parameters.size() > 1 && parameters[0] == "0";
    const std::vector<CBS_MID> channels = chosen ? RangesOf(parameters[1]) : std::vector<CBS_MID>();
    std::vector<CMS_DCS> codings;
    for (const CBS_MID& range : chosen&& parameters.size() > 2 ? RangesOf(parameters[2]) : std::vector<CBS_MID>()) {
      for (DWORD coding = range.dwLeft; coding <= std::min<DWORD>(range.dwRight, 0xFF); ++coding) {
        codings.push_back(coding);
      }
    }
    if (penStat != nullptr) {
      *penStat = m_modem.Facts().indications[2] != 0 ? CBS_STAT_OPEN : CBS_STAT_CLOSE;
    }
    if (pMids != nullptr) {
      pMids->pCbsMids = ArrayOf(channels);
      pMids->size = static_cast<DWORD>(channels.size());
    }
    if (pDcss != nullptr) {
      *pDcss = CbsDcsList();
      pDcss->pCbsDcss = ArrayOf(codings);
      pDcss->size = static_cast<DWORD>(codings.size());
    }
    return true;
  });
}

bool CMessageService::CBSReleaseDetail(CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) {
  if (pMids != nullptr) {
    delete[] pMids->pCbsMids;
    *pMids = CbsMidList();
  }
  if (pDcss != nullptr) {
    delete[] pDcss->pCbsDcss;
    *pDcss = CbsDcsList();
  }
  if (pdwStatus != nullptr) {
    *pdwStatus = 0;
  }
  return true;
}

bool CMessageService::CBSAddChannel(const char* pszChannels, const char* pszCodings, DWORD* pdwStatus) {
  return SelectChannels(true, pszChannels, pszCodings, pdwStatus);
}

bool CMessageService::CBSRemoveChannel(const char* pszChannels, DWORD* pdwStatus) {
  return SelectChannels(false, pszChannels, "", pdwStatus);
}

/// Mode 0 adds to the list, mode 1 takes away. An empty list would mean all of them, so it is refused.
bool CMessageService::SelectChannels(bool bAdd, const char* pszChannels, const char* pszCodings, DWORD* pdwStatus) {
  return Carry(pdwStatus, [&] {
    if (pszChannels == nullptr || pszCodings == nullptr || RangesOf(pszChannels).empty()) {
      return false;
    }
    CAtCommand command("+CSCB=");
    command.Number(bAdd ? 0 : 1).Quoted(pszChannels).Quoted(pszCodings);
    return Settle(m_modem.Execute(command, "+CSCB:", kLimitMs), pdwStatus);
  });
}

}  // namespace modem
