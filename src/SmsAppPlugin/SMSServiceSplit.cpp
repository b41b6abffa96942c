// Numbers, parts and phonebook coding.

#include "CatchAll.h"
#include "CharacterMapFile.h"
#include "DivideSmContent.h"
#include "MyGlobalFunc.h"
#include "SMSServiceImpl.h"
#include "ServiceTrace.h"
#include "platform/GlobalFunction.h"
#include "platform/VelkString.h"
#include "services/IDeviceService.h"
#include "utils.h"

#include <mutex>

namespace {

const int kZpvSingleMessage = 102;
const long kDefaultCdmaCharacters = 160;

CCharacterMapFile g_countMap;

/// Characters of one message on a CDMA device; read once for the life of the process.
long CdmaSingleMessage() {
  static std::mutex lock;
  static bool read = false;
  static long characters = 0;
  const std::lock_guard<std::mutex> guard(lock);
  if (!read) {
    characters = VELK_wtol(MyGetSetting(u"customize", u"singlesmmaxchars").c_str());
    characters = characters == 0 ? kDefaultCdmaCharacters : characters;
    read = true;
  }
  return characters;
}

}  // namespace

bool CSMSServiceImpl::IsNumberValid(const VELK_wchar_t* pszNumber) {
  if (pszNumber == nullptr || *pszNumber == 0) {
    return false;
  }
  const VELK_wstring number(pszNumber, VELK_wcslen(pszNumber) - 1);
  return number.find_first_not_of(u"+0123456789*#;") == VELK_wstring::npos;
}

void CSMSServiceImpl::SplitNumber(const VELK_wchar_t* pszNumbers, std::vector<VELK_wstring>& vctNumbers) {
  if (pszNumbers == nullptr) {
    return;
  }
  const VELK_wstring list(pszNumbers);
  std::size_t begin = 0;
  while (begin < list.size()) {
    const std::size_t separator = list.find_first_of(u",;", begin);
    const std::size_t end = separator == VELK_wstring::npos ? list.size() : separator;
    if (end > begin) {
      vctNumbers.push_back(list.substr(begin, end - begin));
    }
    begin = end + 1;
  }
}

int CSMSServiceImpl::SplitSmContent(const VELK_wchar_t* pszText, int nLength, SMS_PARAM* pstParts, int nSize) {
  IDeviceService* const device = GetDeviceService();
  if (device == nullptr) {
    return MyWideCharToMultiByte(pszText, 0).empty() ? 0 : 1;
  }
  const int mode = device->GetDeviceMode();
  if (mode != DEVICE_MODE_WCDMA && mode != DEVICE_MODE_GSM) {
    return CDivideSmContent::DivideCdmaSmContent(pszText, nLength, pstParts, nSize,
                                                 static_cast<int>(CdmaSingleMessage()));
  }
  if (MyWideCharToMultiByte(MyGetSetting(u"customize", u"operator").c_str(), 0) == "ZPV_C148") {
    return CDivideSmContent::DivideSmContentForZPV(pszText, nLength, pstParts, nSize, kZpvSingleMessage, false);
  }
  return CDivideSmContent::DivideSmContent(pszText, nLength, pstParts, nSize, true);
}

void CSMSServiceImpl::SplitContent(const VELK_wchar_t* pszContent, std::vector<SMS_PARAM>& vctParts) {
  vctParts.clear();
  if (pszContent == nullptr) {
    return;
  }
  if (*pszContent == 0) {
    vctParts.push_back(SMS_PARAM());
    return;
  }
  try {
    const int length = static_cast<int>(VELK_wcslen(pszContent));
    SMS_PARAM scratch;
    const int count = SplitSmContent(pszContent, length, &scratch, 0);
    if (count < 1) {
      return;
    }
    std::vector<SMS_PARAM> parts(static_cast<std::size_t>(count));
    std::fill_n(reinterpret_cast<BYTE*>(parts.data()), parts.size() * sizeof(SMS_PARAM), BYTE(0));
    // Settings may have changed since the count: what the second division returns is what is there.
    const int divided = SplitSmContent(pszContent, length, parts.data(), count);
    vctParts.assign(parts.begin(), parts.begin() + std::max(divided, 0));
  }
  SMS_LET_CANCELLATION_PASS catch (...) { ServiceTrace("Exception: SplitContent Fail!"); }
}

long CSMSServiceImpl::GetMsgSplitCount(const VELK_wchar_t* pszContent, long& lCount) {
  if (pszContent == nullptr) {
    return FAILURE;
  }
  if (*pszContent == 0) {
    return SUCCESS;
  }
  try {
    const VELK_wstring text = g_countMap.Apply(pszContent, getModulePath());
    SMS_PARAM scratch;
    lCount = SplitSmContent(text.c_str(), static_cast<int>(text.size()), &scratch, 0);
    return SUCCESS;
  }
  SMS_LET_CANCELLATION_PASS catch (...) { return FAILURE; }
}

int CSMSServiceImpl::Phonebook_Content_Encode(const VELK_wchar_t* pszText, int iLength, bool bSupportGsm7,
                                              bool& bUnicode) {
  return phonebook_content_encode(pszText, iLength, bSupportGsm7, bUnicode);
}

int CSMSServiceImpl::Phonebook_Content_Coding_Judge(const VELK_wchar_t* pszText, int iLength, bool bSupportGsm7,
                                                    bool bAllCodings) {
  return CPhonebookCharJudge().phonebook_content_coding_judge(pszText, iLength, bSupportGsm7, bAllCodings);
}

VELK_wstring CSMSServiceImpl::getModulePath() {
  const int length = CGlobalFunction::GetModuleDirectory(nullptr, 0);
  if (length <= 0) {
    return VELK_wstring();
  }
  VELK_wstring path(static_cast<std::size_t>(length) + 1, 0);
  CGlobalFunction::GetModuleDirectory(&path[0], length);
  return VELK_wstring(path.c_str());
}
