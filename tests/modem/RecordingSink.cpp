// Events as text.
#include "RecordingSink.h"

#include "services/IDeviceService.h"
#include "services/INetSrv.h"

#include <map>

namespace {

DWORD NumberAt(const void* pData) { return *static_cast<const DWORD*>(pData); }

std::string Ascii(const VELK_wchar_t* text, std::size_t length) {
  std::string ascii;
  for (std::size_t unit = 0; unit < length; ++unit) {
    ascii += text[unit] >= 0x20 && text[unit] < 0x7F ? std::string(1, static_cast<char>(text[unit]))
                                                     : '<' + std::to_string(static_cast<int>(text[unit])) + '>';
  }
  return ascii;
}

std::string LineOf(unsigned long dwEvent, const void* pData) {
  switch (dwEvent) {
    case WMS_NEW_SMS_DIRECT_NOTIFY:
      return "message " + TextOf(*static_cast<const SMReadRecord*>(pData));
    case WMS_REPORT_STATUS_DIRECT:
      return "report " + TextOf(*static_cast<const SMReadRecord*>(pData));
    case WMS_RECEIVE_SMS_NOTIFY: {
      const auto& notice = *static_cast<const SNewSmsNotifyType*>(pData);
      return std::string("stored ") + (notice.enMem == SMS_MEM_SM ? "SM " : "ME ") + std::to_string(notice.hMsg);
    }
    case WMS_MEMORY_STORE_FULL:
      return "full " + (NumberAt(pData) == SMS_MEM_SM   ? "SM"
                        : NumberAt(pData) == SMS_MEM_ME ? "ME"
                                                        : std::to_string(NumberAt(pData)));
    case WMS_MO_SMS_STATUS:
      return "verdict " + std::to_string(NumberAt(pData));
    case WMS_EVENT_READY:
      return "ready";
    case CBS_CONTENT_DIRECT_NOTIFY: {
      const auto& page = *static_cast<const CBSMessage*>(pData);
      std::size_t length = 0;
      while (length < 96 && page.wszContent[length] != 0) {
        ++length;
      }
      return "page " + std::to_string(page.Sequence) + " of " + std::to_string(page.TotalNumber) + " on " +
             std::to_string(page.MessageId) + ": " + Ascii(page.wszContent, length);
    }
    case NETSRV_DATA::EVENT_NET_SERVER_STATUS:
      return "network " + std::to_string(NumberAt(pData));
    case NETSRV_DATA::EVENT_SRV_SIM_STATE:
      return "sim " + std::to_string(NumberAt(pData));
    case NETSRV_DATA::EVENT_SRV_MS_AVAILABLE:
      return "available";
    case NETSRV_DATA::EVENT_SRV_MS_UNAVAILABLE:
      return "unavailable";
    case IDeviceMgrEvent::EVENT_DEVICE_REJECT:
      return "refused";
    case IDeviceMgrEvent::EVENT_DEVICE_SWITCH:
      return "another device";
    case IDeviceMgrEvent::EVENT_DEVICE_SYSMODE_CHANGED:
      return "another mode";
    default:
      return "event " + std::to_string(dwEvent);
  }
}

}  // namespace

bool CRecordingSink::OnUniCommEvent(unsigned long dwEvent, void* pData) {
  const std::string line = LineOf(dwEvent, pData);
  return m_monitor.Locked([&] {
    m_lines.push_back(line);
    return m_bAnswer;
  });
}

std::string CRecordingSink::Next() {
  if (!m_monitor.Await([this] { return !m_lines.empty(); })) {
    return "nothing";
  }
  return m_monitor.Locked([this] {
    const std::string line = m_lines.front();
    m_lines.pop_front();
    return line;
  });
}

std::string TextOf(const SMReadRecord& record) {
  const std::map<SMS_STAT, std::string> states = {
      {SMS_STAT_UNREAD, "unread"}, {SMS_STAT_READ, "read"}, {SMS_STAT_UNSENT, "unsent"}, {SMS_STAT_SENT, "sent"}};
  std::string text = states.at(record.enSMStat) + " " + record.szAddress + " " +
                     (record.enType == SMS_IDENTIFYER_REPORT ? std::to_string(record.wszContent[0])
                                                             : Ascii(record.wszContent, record.dwLength));
  if (record.stLongSMS_info.btTotalPack != 0) {
    text += " (part " + std::to_string(record.stLongSMS_info.btPack) + " of " +
            std::to_string(record.stLongSMS_info.btTotalPack) + ")";
  }
  return text;
}
