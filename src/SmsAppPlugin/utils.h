// Look-up of the other plug-ins' services, and the conversions between device records and clients' records.
#pragma once

#include "SMSDef.h"

class IDeviceMgr;
class IDeviceService;
class INetSrv;
class INotifyService;
class IShortMessage;
class ISMSRecord;

// --- Services: asked of the container at every use, null when absent. Use the pointer for the call at hand and do not
// --- release it. [any-thread]

INotifyService* GetNotifyService();
IShortMessage* GetSmsService();
IDeviceService* GetDeviceService();
INetSrv* GetNetService();
IDeviceMgr* GetDeviceMgr();

// --- Conversions. A null record changes nothing. Device texts are read up to their terminator, their declared length
// --- or the end of their field, whichever comes first. [any-thread]

/// Fills the record from a message read from a memory (SMS_MEM_UNKNOW: none). Everything but the identifier.
void ParseSMSMessageToRecord(const SMReadRecord& stMessage, ISMSRecord* pSMSRecord, SMS_MEM enMem);
/// The same from a part as it is sent or stored; a part has no message class, so the record's class stays.
void ParseSMSParamToRecord(const SMS_PARAM& stSmsParam, ISMSRecord* pSMSRecord, SMS_MEM enMem);
/// Takes over content (its first 160 code units), long-message information and, on the SIM only, the state; number,
/// time, priority and type are the caller's to fill.
/// @param hMsg  out: the record's identifier; may be null.
void ParseSMSRecordIntoSmsParam(const ISMSRecord* pSMSRecord, SMS_PARAM& stSmsParam, MSG_HANDLE* hMsg, SMS_MEM enMem);

/// Writes one trace line about a message read from a memory; nothing for null.
/// @param hMsg  its index; the address of a zero for a message that was never stored.
void TraceSMReadRecord(const SMReadRecord* pMsg, const MSG_HANDLE* hMsg);
