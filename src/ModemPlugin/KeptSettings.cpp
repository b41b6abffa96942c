#include "KeptSettings.h"

#include "platform/GlobalFunction.h"
#include "platform/VelkString.h"

namespace modem {

namespace {

const VELK_wchar_t kSection[] = u"ModemPlugin";
const VELK_wchar_t kValidity[] = u"Validity";
const VELK_wchar_t kStatusReport[] = u"StatusReport";
const VELK_wchar_t kReplyPath[] = u"ReplyPath";
const VELK_wchar_t kPriority[] = u"Priority";
const VELK_wchar_t kReceiveMode[] = u"ReceiveMode";
const VELK_wchar_t kNetworkTime[] = u"NetworkTime";

/// @return the number, or -1 when there is none from 0 to `highest`.
int ReadNumber(const VELK_wchar_t* pszItem, int highest) {
  VELK_wchar_t text[16] = {};
  const int length = CGlobalFunction::GetSetting(kSection, pszItem, text, 15);
  const int value = VELK_wtoi(text);
  return length > 0 && length < 15 && value >= 0 && value <= highest ? value : -1;
}

bool WriteNumber(const VELK_wchar_t* pszItem, long before, long now) {
  VELK_wchar_t text[16] = {};
  return before == now ||
         CGlobalFunction::SetSetting(kSection, pszItem, VELK_itow(static_cast<int>(now), text, 10)) == 0;
}

}  // namespace

void LoadKeptSettings(WMSConfigurationType& config) {
  const int validity = ReadNumber(kValidity, 255);
  const int priority = ReadNumber(kPriority, SM_PRIORITY_EMERGENCY);
  config.dwValidity = validity >= 0 ? static_cast<DWORD>(validity) : config.dwValidity;
  config.enPri = priority >= 0 ? static_cast<SM_PRIORITY>(priority) : config.enPri;
  const int receiveMode = ReadNumber(kReceiveMode, RECEIVE_NEWSMS_AFTER_STORED);
  config.enRevMode = receiveMode > 0 ? static_cast<RECEIVE_NEWSMS_MODE>(receiveMode) : config.enRevMode;
  config.bEnableStatusReport = ReadNumber(kStatusReport, 1) == 1;
  config.bEnableReplyPath = ReadNumber(kReplyPath, 1) == 1;
}

bool StoreKeptSettings(const WMSConfigurationType& before, const WMSConfigurationType& now) {
  const bool validity = WriteNumber(kValidity, before.dwValidity, now.dwValidity);
  const bool priority = WriteNumber(kPriority, before.enPri, now.enPri);
  const bool report = WriteNumber(kStatusReport, before.bEnableStatusReport, now.bEnableStatusReport);
  const bool replyPath = WriteNumber(kReplyPath, before.bEnableReplyPath, now.bEnableReplyPath);
  const bool receiveMode = WriteNumber(kReceiveMode, before.enRevMode, now.enRevMode);
  return validity && priority && report && replyPath && receiveMode;
}

bool WantsNetworkTime() { return ReadNumber(kNetworkTime, 1) == 1; }

}  // namespace modem
