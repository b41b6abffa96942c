#include "MessageService.h"

#include "ModemStart.h"
#include "platform/TraceSrv.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace modem {

namespace {

const unsigned int kLimitMs = 5000;
const unsigned int kStoreLimitMs = 20000;
const unsigned int kListLimitMs = 60000;
const DWORD kUnknownError = 500;  // 3GPP TS 27.005, 3.2.5
const DWORD kInvalidIndex = 321;
const DWORD kLongestValidity = 255;  // 63 weeks (3GPP TS 23.040, 9.2.3.12.1)
const int kListAll = 4;              // states of AT+CMGL in PDU mode are those of SMS_STAT
const MSG_HANDLE kNoMessage = 0xFFFFFFFF;

/// @return whether the command was carried out; the status says why not.
bool Settle(const AtReply& reply, DWORD* pdwStatus) {
  if (pdwStatus != nullptr) {
    const bool coded = reply.final == AtReply::Final::kCmsError || reply.final == AtReply::Final::kCmeError;
    *pdwStatus = reply.IsOk() ? 0 : coded ? static_cast<DWORD>(reply.code) : kUnknownError;
  }
  return reply.IsOk();
}

bool Refuse(DWORD* pdwStatus, DWORD status = kUnknownError) {
  if (pdwStatus != nullptr) {
    *pdwStatus = status;
  }
  return false;
}

SMS_STAT StateOf(const std::string& text) {
  const int state = std::atoi(text.c_str());
  return state >= SMS_STAT_UNREAD && state <= SMS_STAT_SENT ? static_cast<SMS_STAT>(state) : SMS_STAT_READ;
}

}  // namespace

CMessageService::CMessageService(CModem& modem) : m_modem(modem) {
  m_config.dwValidity = kLongestValidity;
  m_config.enRevMode = RECEIVE_NEWSMS_AFTER_STORED;
}

bool CMessageService::RegEventSink(IUniCommEvent* pSink) {
  return m_modem.Events().AddSink(CEventRaiser::Source::kMessages, pSink);
}

bool CMessageService::UnRegEventSink(IUniCommEvent* pSink) {
  return m_modem.Events().RemoveSink(CEventRaiser::Source::kMessages, pSink);
}

WMSConfigurationType CMessageService::Config() const {
  const std::lock_guard<std::mutex> guard(m_lock);
  return m_config;
}

bool CMessageService::SMSSendMsg(const SMS_PARAM& stParam, DWORD* pdwResult) {
  PduLine line;
  const sms_pdu::PduError error = MakeSubmit(stParam, Config(), line);
  if (error != sms_pdu::PduError::None) {
    const std::string text = std::string("a message cannot be sent: ") + sms_pdu::ErrorText(error);
    TraceSrv_Trace(Tracelevel::TL_ERRO, "MODEM", text.c_str());
    return Refuse(pdwResult);
  }
  if (!m_modem.QueueSend(line)) {
    return Refuse(pdwResult);
  }
  if (pdwResult != nullptr) {
    *pdwResult = 0;
  }
  return true;
}

bool CMessageService::SMSSetBearer(SmsBear enBear, DWORD* pdwResult) {
  // 3GPP TS 27.007, 7.21 counts the bearers as SmsBear does.
  CAtCommand command("+CGSMS=");
  return Settle(m_modem.Execute(command.Number(enBear), "+CGSMS:", kLimitMs), pdwResult);
}

bool CMessageService::GetWMSConfig(WMSConfigurationType* pstConfig, DWORD* pdwStatus) {
  if (pstConfig == nullptr || !m_modem.IsAvailable()) {
    return Refuse(pdwStatus);
  }
  *pstConfig = Config();
  const std::string centre = m_modem.Facts().serviceCentre;
  std::memset(pstConfig->szSCNum, 0, sizeof pstConfig->szSCNum);
  centre.copy(pstConfig->szSCNum, sizeof pstConfig->szSCNum - 1);
  if (pdwStatus != nullptr) {
    *pdwStatus = 0;
  }
  return true;
}

bool CMessageService::SetWMSConfig(WMSConfigurationType* pstConfig, DWORD* pdwStatus) {
  if (pstConfig == nullptr || !m_modem.IsAvailable()) {
    return Refuse(pdwStatus);
  }
  const std::string centre(pstConfig->szSCNum, strnlen(pstConfig->szSCNum, sizeof pstConfig->szSCNum));
  if (centre != m_modem.Facts().serviceCentre) {
    const int international = 145;
    const int unknown = 129;
    CAtCommand command("+CSCA=");
    command.Quoted(centre).Number(!centre.empty() && centre[0] == '+' ? international : unknown);
    if (!Settle(m_modem.Execute(command, "+CSCA:", kLimitMs), pdwStatus)) {
      return false;
    }
    m_modem.SetServiceCentre(centre);
  }
  const std::lock_guard<std::mutex> guard(m_lock);
  m_config = *pstConfig;
  if (pdwStatus != nullptr) {
    *pdwStatus = 0;
  }
  return true;
}

// --- memories --------------------------------------------------------------------------------------------------------

bool CMessageService::SMSGetMsgList(SMS_MEM enMem, SMS_LIST* pstList, DWORD* pdwStatus) {
  if (pstList == nullptr) {
    return Refuse(pdwStatus);
  }
  const CModem::CMemoryHold hold(m_modem, enMem);
  CAtCommand command("+CMGL=");
  const AtReply reply = hold.IsOk() ? m_modem.Execute(command.Number(kListAll), "+CMGL:", kListLimitMs) : AtReply();
  if (!Settle(reply, pdwStatus)) {
    return false;
  }
  CModem::MessageCache messages;
  for (std::size_t line = 0; line + 1 < reply.lines.size(); line += 2) {
    const std::vector<std::string> parameters = ParametersOf(reply.lines[line]);
    if (parameters.size() >= 2) {
      const MSG_HANDLE index = static_cast<MSG_HANDLE>(std::strtoul(parameters[0].c_str(), nullptr, 10));
      messages.emplace(index, ReadPdu(reply.lines[line + 1], StateOf(parameters[1])));
    }
  }
  m_modem.RememberListed(enMem, messages);
  pstList->dwCount = static_cast<DWORD>(messages.size());
  pstList->pList = new MSG_HANDLE[messages.size() + 1];
  pstList->pSmReadRecord = nullptr;
  std::transform(messages.begin(), messages.end(), pstList->pList, [](const auto& message) { return message.first; });
  return true;
}

void CMessageService::SMSReleaseMsgList(SMS_LIST* pstList) {
  if (pstList != nullptr) {
    delete[] pstList->pList;
    *pstList = SMS_LIST();
  }
}

bool CMessageService::SMSReadMsg(SMS_MEM enMem, MSG_HANDLE* phMsg, SMReadRecord* pstRecord, int iAlterMode,
                                 DWORD* pdwStatus) {
  if (phMsg == nullptr || pstRecord == nullptr || (enMem != SMS_MEM_SM && enMem != SMS_MEM_ME)) {
    return Refuse(pdwStatus);
  }
  const bool markRead = iAlterMode == UNREAD_SM_ALTER;
  if (m_modem.IsAvailable() && m_modem.FindListed(enMem, *phMsg, markRead, *pstRecord)) {
    if (pdwStatus != nullptr) {
      *pdwStatus = 0;
    }
    return true;
  }
  if (!ReadFromModem(enMem, *phMsg, *pstRecord, pdwStatus)) {
    return false;
  }
  // Reading has marked the message read on the modem; that it was unread is remembered here.
  m_modem.RememberListed(enMem, {{*phMsg, *pstRecord}});
  SMReadRecord again;
  m_modem.FindListed(enMem, *phMsg, markRead, again);
  return true;
}

bool CMessageService::ReadFromModem(SMS_MEM enMem, MSG_HANDLE hMsg, SMReadRecord& record, DWORD* pdwStatus) {
  const CModem::CMemoryHold hold(m_modem, enMem);
  CAtCommand command("+CMGR=");
  const AtReply reply =
      hold.IsOk() ? m_modem.Execute(command.Number(static_cast<long>(hMsg)), "+CMGR:", kLimitMs) : AtReply();
  if (!Settle(reply, pdwStatus)) {
    return false;
  }
  if (reply.lines.size() < 2) {
    return Refuse(pdwStatus, kInvalidIndex);  // an empty place answers OK alone
  }
  const std::vector<std::string> parameters = ParametersOf(reply.lines[0]);
  record = ReadPdu(reply.lines[1], parameters.empty() ? SMS_STAT_READ : StateOf(parameters[0]));
  return true;
}

bool CMessageService::SMSDeleteMsg(SMS_MEM enMem, MSG_HANDLE hMsg, DWORD* pdwStatus) {
  if (hMsg == kNoMessage) {
    return Refuse(pdwStatus, kInvalidIndex);
  }
  const CModem::CMemoryHold hold(m_modem, enMem);
  CAtCommand command("+CMGD=");
  const AtReply reply =
      hold.IsOk() ? m_modem.Execute(command.Number(static_cast<long>(hMsg)), "+CMGD:", kStoreLimitMs) : AtReply();
  if (reply.IsOk()) {
    m_modem.ForgetListed(enMem, hMsg);
  }
  return Settle(reply, pdwStatus);
}

bool CMessageService::SMSSaveMsg(SMS_MEM enMem, SMS_PARAM* pstParam, MSG_HANDLE* phMsg, DWORD* pdwStatus) {
  if (pstParam == nullptr) {
    return Refuse(pdwStatus);
  }
  const bool received = pstParam->enSMSStat == SMS_STAT_UNREAD || pstParam->enSMSStat == SMS_STAT_READ;
  const SMS_STAT state = pstParam->enSMSStat == SMS_STAT_ALL ? SMS_STAT_UNSENT : pstParam->enSMSStat;
  PduLine line;
  const sms_pdu::PduError error = received ? MakeDeliver(*pstParam, line) : MakeSubmit(*pstParam, Config(), line);
  const CModem::CMemoryHold hold(m_modem, enMem);
  if (error != sms_pdu::PduError::None || !hold.IsOk()) {
    return Refuse(pdwStatus);
  }
  CAtCommand command("+CMGW=");
  command.Number(static_cast<long>(line.tpduOctets)).Number(state);
  const AtReply reply = m_modem.ExecuteWithOctets(command, line.hex, "+CMGW:", kStoreLimitMs);
  if (!Settle(reply, pdwStatus) || reply.lines.empty()) {
    return false;
  }
  const std::vector<std::string> parameters = ParametersOf(reply.lines[0]);
  const MSG_HANDLE index =
      parameters.empty() ? kNoMessage : static_cast<MSG_HANDLE>(std::strtoul(parameters[0].c_str(), nullptr, 10));
  m_modem.ForgetListed(enMem, index);
  if (phMsg != nullptr) {
    *phMsg = index;
  }
  return true;
}

bool CMessageService::SMSGetMemInfo(SMS_MEM enMem, DWORD* pdwTotal, DWORD* pdwUsed, DWORD* pdwStatus) {
  if (enMem != SMS_MEM_SM && enMem != SMS_MEM_ME) {
    return Refuse(pdwStatus);
  }
  const CModem::CMemoryHold hold(m_modem, enMem);
  // "+CPMS?" tells name, used and total of the memory that is chosen first.
  const AtReply reply = hold.IsOk() ? m_modem.Execute(CAtCommand("+CPMS?"), "+CPMS:", kLimitMs) : AtReply();
  if (!Settle(reply, pdwStatus)) {
    return false;
  }
  const std::vector<std::string> parameters =
      reply.lines.empty() ? std::vector<std::string>() : ParametersOf(reply.lines[0]);
  if (parameters.size() < 3) {
    return Refuse(pdwStatus);
  }
  if (pdwUsed != nullptr) {
    *pdwUsed = static_cast<DWORD>(std::strtoul(parameters[1].c_str(), nullptr, 10));
  }
  if (pdwTotal != nullptr) {
    *pdwTotal = static_cast<DWORD>(std::strtoul(parameters[2].c_str(), nullptr, 10));
  }
  return true;
}

int CMessageService::SMSGetAlterSupport(int /*iQuery*/, DWORD* pdwStatus) {
  if (pdwStatus != nullptr) {
    *pdwStatus = 0;
  }
  return 0;  // AT+CMGR marks a message read whatever is wanted
}

// --- cell broadcast (3GPP TS 27.005, 3.3.4) --------------------------------------------------------------------------

bool CMessageService::CBSSetService(CBSStat enStat, DWORD* pdwStatus) {
  // All channels off is "none but the empty list"; on is "the list as it was chosen".
  CAtCommand command("+CSCB=");
  command.Number(enStat == CBS_STAT_OPEN ? 0 : 1).Quoted("").Quoted("");
  return Settle(m_modem.Execute(command, "+CSCB:", kLimitMs), pdwStatus);
}

bool CMessageService::CBSGetDetail(CBSStat* penStat, CbsMidList* pMids, CbsDcsList* pDcss, DWORD* pdwStatus) {
  const AtReply reply = m_modem.Execute(CAtCommand("+CSCB?"), "+CSCB:", kLimitMs);
  if (!Settle(reply, pdwStatus) || reply.lines.empty()) {
    return false;
  }
  const std::vector<std::string> parameters = ParametersOf(reply.lines[0]);
  if (penStat != nullptr) {
    *penStat = !parameters.empty() && parameters[0] == "0" ? CBS_STAT_OPEN : CBS_STAT_CLOSE;
  }
  if (pMids != nullptr) {
    std::vector<CBS_MID> ranges;
    const std::string list = parameters.size() > 1 ? parameters[1] : std::string();
    for (std::size_t begin = 0; begin < list.size();) {
      const std::size_t end = std::min(list.find(',', begin), list.size());
      char* dash = nullptr;
      const DWORD left = static_cast<DWORD>(std::strtoul(list.c_str() + begin, &dash, 10));
      const DWORD right = *dash == '-' ? static_cast<DWORD>(std::strtoul(dash + 1, nullptr, 10)) : left;
      ranges.push_back(CBS_MID{left, right});
      begin = end + 1;
    }
    pMids->size = static_cast<DWORD>(ranges.size());
    pMids->pCbsMids = new CBS_MID[ranges.size() + 1];
    std::copy(ranges.begin(), ranges.end(), pMids->pCbsMids);
  }
  if (pDcss != nullptr) {
    *pDcss = CbsDcsList();
  }
  return true;
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

bool CMessageService::SelectChannels(bool bAdd, const char* pszChannels, const char* pszCodings, DWORD* pdwStatus) {
  if (pszChannels == nullptr || pszCodings == nullptr) {
    return Refuse(pdwStatus);
  }
  CAtCommand command("+CSCB=");
  command.Number(bAdd ? 0 : 1).Quoted(pszChannels).Quoted(pszCodings);
  return Settle(m_modem.Execute(command, "+CSCB:", kLimitMs), pdwStatus);
}

}  // namespace modem
