// Message structures and enumerations that the service, its clients and the device services share.
// Plain values, laid out in the order given. char fields are ASCII, VELK_wchar_t fields UTF-16 code units, both
// zero-terminated unless a length field says otherwise.
#pragma once

#include "VelkTypes.h"

#include <algorithm>
#include <cstring>

/// Most recipients of one group send.
const int MSG_GROUP_SEND_MAX_NUMBER = 20;

// ---------------------------------------------------------------------------------------------------------------------
// As clients see messages
// ---------------------------------------------------------------------------------------------------------------------
namespace NS_SMS {

/// Box (folder) of a record.
enum MSG_POSITION {
  SEND_BOX = 0,
  RECEIVE_BOX = 1,
  DRAFT_BOX = 2,
  FAVORITE_BOX = 3,
  RECYCLE_BOX = 4,
  RECEIPT_BOX = 5,
  SEND_BOX_SIM = 6,
  RECEIVE_BOX_SIM = 7,
  SEND_BOX_NV = 8,
  RECEIVE_BOX_NV = 9,
  CBS_BOX = 10,
  TIMING_BOX = 11,
  MSG_POSITION_NUM = 12
};

enum READ_TAG { IS_READ = 0, IS_NOT_READ = 1 };

enum SEND_RESULT { SUCCESS = 0, FAILURE = 1 };

enum MSG_TYPE { MSG_ORDINARY = 0, MSG_REPORT = 1, MSG_MMS_ALERT = 2, MSG_VOICE_MAIL = 3, MSG_CELL_BROADCAST = 4 };

enum SMS_PRIORITY {
  SMS_NORMAL_PRIORITY = 0,
  SMS_INTERACTIVE_PRIORITY = 1,
  SMS_URGENT_PRIORITY = 2,
  SMS_EMERGENCY_PRIORITY = 3,
  SMS_WCDMA_PRIORITY = 4
};

/// Message class (3GPP TS 23.038, 4); class 0 is shown at once and not stored.
enum MS_CLASS { MS_CLASS_0 = 0, MS_CLASS_1 = 1, MS_CLASS_2 = 2, MS_CLASS_3 = 3, MS_CLASS_INVALID = 4 };

/// Storage selector of the record operations.
enum STORAGE_KIND { SMS_LOCAL = 0, SMS_SIM = 1, SMS_NV = 2 };

}  // namespace NS_SMS

// ---------------------------------------------------------------------------------------------------------------------
// As the device services see messages. 32 bits each, and any value may arrive: devices know kinds and states of their
// own, and whoever reads one has an answer for "anything else".
// ---------------------------------------------------------------------------------------------------------------------

enum SMS_MEM : int { SMS_MEM_SM = 0, SMS_MEM_ME = 1, SMS_MEM_UNKNOW = 2 };

enum SM_PRIORITY : int {
  SM_PRIORITY_NORMAL = 0,
  SM_PRIORITY_INTERACTIVE = 1,
  SM_PRIORITY_URGENT = 2,
  SM_PRIORITY_EMERGENCY = 3
};

enum SMS_CLASS : int { SMS_CLASS_0 = 0, SMS_CLASS_1 = 1, SMS_CLASS_2 = 2, SMS_CLASS_3 = 3, SMS_CLASS_INVALID = 4 };

enum SMS_REPLY_PATH : int { SMS_REPLY_PATH_LOCAL_SM_CENTER_ADDR = 0, SMS_REPLY_PATH_SOURCE_SM_CENTER_ADDR = 1 };

/// Kind of a message in a device memory.
enum SMS_IDENTIFYER : int {
  SMS_IDENTIFYER_ORDINARILY = 0,
  SMS_IDENTIFYER_REPORT = 1,
  SMS_IDENTIFYER_MMS_NOTIFY = 2,
  SMS_IDENTIFYER_VOICE_MAIL = 3,
  SMS_IDENTIFYER_CELL_BROADCAST = 4,
  SMS_IDENTIFYER_FLASH = 5,
  SMS_IDENTIFYER_UNKNOW = 6
};

/// State of a message in a device memory; SMS_STAT_ALL is a list filter.
enum SMS_STAT : int {
  SMS_STAT_UNREAD = 0,
  SMS_STAT_READ = 1,
  SMS_STAT_UNSENT = 2,
  SMS_STAT_SENT = 3,
  SMS_STAT_ALL = 4
};

/// Locking-shift table: the language identifier of 3GPP TS 23.038, 6.2.1.2.4. Spanish (2) has none.
enum _SMS_NLI_LOCK : int { SMS_NLI_Lock_Reverse = 0, SMS_NLI_Turk_Lock = 1, SMS_NLI_Port_Lock = 3 };
typedef _SMS_NLI_LOCK SMS_NLI_LOCK;

/// Single-shift table: the language identifier of 3GPP TS 23.038, 6.2.1.2.4.
enum _SMS_NLI_SIGNLE : int {
  SMS_NLI_Single_Reverse = 0,
  SMS_NLI_Turk_Single = 1,
  SMS_NLI_Span_Single = 2,
  SMS_NLI_Port_Single = 3
};
typedef _SMS_NLI_SIGNLE SMS_NLI_SIGNLE;

enum RECEIVE_NEWSMS_MODE : int {
  RECEIVE_NEWSMS_UNKNOW = 0,
  RECEIVE_NEWSMS_DIRECT = 1,
  RECEIVE_NEWSMS_AFTER_STORED = 2
};

enum CBSStat : int { CBS_STAT_OPEN = 0, CBS_STAT_CLOSE = 1 };

enum SMS_READ_STATUS : int { SMS_READ_STATUS_READ = 0, SMS_READ_STATUS_UNREAD = 1 };

/// Whether reading an unread message marks it read on the device.
enum UnreadSmAlterMode : int { UNREAD_SM_ALTER = 0, UNREAD_SM_NOT_ALTER = 1 };

/// Bearer for sending: packet or circuit switched, only or preferred.
enum SmsBear : int { SMS_BEAR_ONLY_PS = 0, SMS_BEAR_ONLY_CS = 1, SMS_BEAR_PREF_PS = 2, SMS_BEAR_PREF_CS = 3 };

namespace DevDataDef {
enum PRODUCT_TYPE {
  PRODUCT_TYPE_WCDMA = 0,
  PRODUCT_TYPE_CDMA = 1,
  PRODUCT_TYPE_TD_SCDMA = 2,
  PRODUCT_TYPE_WIMAX = 3,
  PRODUCT_TYPE_WIFI = 4,
  PRODUCT_TYPE_UNKNOW = 5
};
}  // namespace DevDataDef

/// A calendar time as the device reports it: local time, no zone.
struct UTTime {
  WORD wYear = 0;     // full year
  BYTE btMonth = 0;   // 1..12
  BYTE btDay = 0;     // 1..31
  BYTE btHour = 0;    // 0..23
  BYTE btMinute = 0;  // 0..59
  BYTE btSecond = 0;  // 0..59
};

/// Concatenation information of one part (3GPP TS 23.040, 9.2.3.24.1); all 0 for a message that is not a part.
struct LONG_SMS_INFO {
  BYTE btMR = 0;         // reference shared by all parts
  BYTE btTotalPack = 0;  // number of parts
  BYTE btPack = 0;       // this part, counted from 1
};

/// National-language shift tables of a 7-bit message.
struct _SMS_NLI {
  SMS_NLI_LOCK enNLI_Lock = SMS_NLI_Lock_Reverse;
  SMS_NLI_SIGNLE enNLI_Single = SMS_NLI_Single_Reverse;
};
typedef _SMS_NLI SMS_NLI;

/// One part as it is sent to, or stored in, the device; also the unit in which content division returns parts.
struct SMS_PARAM {
  int iContentLen = 0;                 // code units of wszContent that are content
  SMS_STAT enSMSStat = SMS_STAT_SENT;  // a fresh record counts as sent, on purpose
  char szAddress[33] = {};             // destination (or originator), at most 32 characters
  LONG_SMS_INFO stLongSMS_info;        // valid while bLongSms
  UTTime utTime;
  VELK_wchar_t wszContent[161] = {};  // up to 160 code units and a terminator
  char szSCNum[21] = {};              // service centre, at most 20 characters
  SM_PRIORITY enPri = SM_PRIORITY_NORMAL;
  SMS_IDENTIFYER enType = SMS_IDENTIFYER_ORDINARILY;
  char cDCS = 0;          // 0 GSM 7-bit, 4 8-bit data, 8 UCS2, 12 carrier's 16-bit coding
  bool bLongSms = false;  // part of a concatenated message
  SMS_NLI stSMS_NLI;      // national tables of a 7-bit part
};

/// Raw parts of an MMS notification (WAP push) received as a message.
struct MMS_NOTIFY_DATA {
  int iWSPLen = 0;        // valid octets of szWSP
  int iDATALen = 0;       // valid octets of szDATA
  char szWSP[160] = {};   // WSP header
  char szDATA[160] = {};  // notification body
};

/// One message as read from a device memory; 740 bytes.
struct SMReadRecord {
  DWORD dwLength;  // code units of wszContent that are content
  UTTime stTime;   // service-centre time stamp, or time of storing
  SMS_IDENTIFYER enType;
  SMS_STAT enSMStat;
  LONG_SMS_INFO stLongSMS_info;
  char szAddress[33];  // originator or destination
  char szSCNum[21];
  VELK_wchar_t wszContent[161];
  MMS_NOTIFY_DATA stMMS_Notify_Data;  // valid when enType is SMS_IDENTIFYER_MMS_NOTIFY
  SM_PRIORITY enPri;
  SMS_CLASS enSmClass;
  SMS_REPLY_PATH enReplyPath;

  /// Clears only the first 161 bytes of wszContent and leaves the rest as it was, on purpose: readers of a default
  /// record rely on dwLength, not on a terminator beyond unit 80. Never inlined, so that no compiler treats what
  /// stood there before as dead.
  __attribute__((noinline)) SMReadRecord()
      : dwLength(0),
        enType(SMS_IDENTIFYER_ORDINARILY),
        enSMStat(SMS_STAT_UNREAD),
        enPri(SM_PRIORITY_NORMAL),
        enSmClass(SMS_CLASS_INVALID),
        enReplyPath(SMS_REPLY_PATH_LOCAL_SM_CENTER_ADDR) {
    std::memset(szAddress, 0, sizeof szAddress);
    std::memset(szSCNum, 0, sizeof szSCNum);
    std::fill_n(reinterpret_cast<BYTE*>(wszContent), 161, BYTE(0));
  }
};

static_assert(sizeof(SMS_PARAM) == 416, "device services exchange SMS_PARAM by value");
static_assert(sizeof(SMReadRecord) == 740, "device services exchange SMReadRecord by value");

/// The messages of one device memory. The message service allocates and owns both arrays; the caller copies what it
/// needs and gives the list back with IShortMessage::SMSReleaseMsgList.
struct SMS_LIST {
  DWORD dwCount = 0;
  MSG_HANDLE* pList = nullptr;            // dwCount indexes
  SMReadRecord* pSmReadRecord = nullptr;  // dwCount records, or null
};

/// Notice of a message that the device has stored.
struct SNewSmsNotifyType {
  SMS_MEM enMem;
  MSG_HANDLE hMsg;
};

/// One received cell-broadcast page (3GPP TS 23.041).
struct CBSMessage {
  DWORD SerialNumber;
  DWORD MessageId;              // channel
  BYTE TotalNumber;             // number of pages
  BYTE Sequence;                // this page
  VELK_wchar_t wszContent[96];  // may be full without a terminator
};

/// Configuration of the message service on the device.
struct WMSConfigurationType {
  SMS_CLASS enSmClass = SMS_CLASS_INVALID;
  SM_PRIORITY enPri = SM_PRIORITY_NORMAL;
  DWORD dwValidity = 0;  // as the device encodes it
  bool bEnableStatusReport = false;
  bool bEnableReplyPath = false;
  char szSCNum[21] = {};
  RECEIVE_NEWSMS_MODE enRevMode = RECEIVE_NEWSMS_UNKNOW;
};

/// Range of cell-broadcast message identifiers, both ends included.
struct CBS_MID {
  DWORD dwLeft;
  DWORD dwRight;
};

/// Filled by the device service, given back through CBSReleaseDetail.
struct CbsMidList {
  DWORD size = 0;
  CBS_MID* pCbsMids = nullptr;
};

/// Filled by the device service, given back through CBSReleaseDetail.
struct CbsDcsList {
  DWORD size = 0;
  CMS_DCS* pCbsDcss = nullptr;
};
