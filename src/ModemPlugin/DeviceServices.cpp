#include "DeviceServices.h"

#include "Guarded.h"
#include "ModemLine.h"

#include <cstring>

namespace modem {

namespace {

class CMemoryWalk : public IDeviceMemIterator {
public:
  explicit CMemoryWalk(const std::vector<SMS_MEM>& memories) : m_memories(memories) {}
  bool First() override {
    m_position = 0;
    return !m_memories.empty();
  }
  bool Next() override { return m_position < m_memories.size() && ++m_position < m_memories.size(); }
  SMS_MEM CurrentMem() override { return m_position < m_memories.size() ? m_memories[m_position] : SMS_MEM_UNKNOW; }

private:
  const std::vector<SMS_MEM> m_memories;
  std::size_t m_position = 0;
};

void Clear(DWORD* pdwValue) {
  if (pdwValue != nullptr) {
    *pdwValue = 0;
  }
}

/// "+CPINR: SIM PIN,2,3" for each code (3GPP TS 27.007, 8.65); what a modem does not tell stays 0.
void AskTries(CModem& modem, DWORD* pdwPinTimes, DWORD* pdwPukTimes) {
  const unsigned int kLimitMs = 5000;
  const AtReply reply = modem.Execute(CAtCommand("+CPINR"), "+CPINR:", kLimitMs);
  for (const std::string& line : reply.lines) {
    const std::vector<std::string> parameters = ParametersOf(line);
    DWORD* const tries = parameters.size() < 2        ? nullptr
                         : parameters[0] == "SIM PIN" ? pdwPinTimes
                         : parameters[0] == "SIM PUK" ? pdwPukTimes
                                                      : nullptr;
    if (tries != nullptr && !NumberOf(parameters[1], *tries)) {
      *tries = 0;
    }
  }
}

}  // namespace

DevDataDef::DEVICE_STATUS CDeviceService::GetDeviceStatus() {
  return m_modem.IsAvailable() ? DevDataDef::DEVICE_STATUS_AVAILABLE : DevDataDef::DEVICE_STATUS_UNKNOW;
}

bool CDeviceService::GetSimState(SimState* penState, DWORD* pdwExtra) {
  if (penState == nullptr) {
    return false;
  }
  Clear(pdwExtra);
  return Guarded([&] {
    *penState = m_modem.Facts().sim;
    return true;
  });
}

bool CNetworkService::RegEventSink(IUniCommEvent* pSink) {
  return Guarded([&] { return m_modem.Events().AddSink(CEventRaiser::Source::kNetwork, pSink); });
}

bool CNetworkService::UnRegEventSink(IUniCommEvent* pSink) {
  return m_modem.Events().RemoveSink(CEventRaiser::Source::kNetwork, pSink);
}

bool CNetworkService::GetServerStatus(SysSrvStatus* penStatus, DWORD* pdwExtra) {
  if (penStatus == nullptr) {
    return false;
  }
  Clear(pdwExtra);
  return Guarded([&] {
    *penStatus = m_modem.Facts().network;
    return true;
  });
}

bool CNetworkService::GetCurrentPLMN(NETSRV_DATA::PLMNType* pstPLMN, DWORD* pdwExtra) {
  return pstPLMN != nullptr && Guarded([&] {
           const std::string code = m_modem.Facts().operatorCode;
           Clear(pdwExtra);
           std::memset(pstPLMN->szPLMN, 0, sizeof pstPLMN->szPLMN);
           code.copy(pstPLMN->szPLMN, sizeof pstPLMN->szPLMN - 1);
           return !code.empty();
         });
}

bool CDeviceManager::RegEventSink(IDeviceMgrEvent* pSink) {
  return Guarded([&] { return m_modem.Events().AddSink(pSink); });
}

bool CDeviceManager::UnRegEventSink(IDeviceMgrEvent* pSink) { return m_modem.Events().RemoveSink(pSink); }

bool CDeviceManager::GetDoubleModeCardState(bool* pbState, DWORD* pdwExtra1, DWORD* pdwExtra2, DWORD* pdwExtra3) {
  if (pbState == nullptr) {
    return false;
  }
  Clear(pdwExtra1);
  Clear(pdwExtra2);
  Clear(pdwExtra3);
  *pbState = false;
  return true;
}

bool CDeviceManager::GetMemIterator(IDeviceMemIterator** ppIterator) {
  if (ppIterator == nullptr) {
    return false;
  }
  return Guarded([&] {
    const std::lock_guard<std::mutex> guard(m_lock);
    std::unique_ptr<IDeviceMemIterator>& walk = m_iterators[static_cast<unsigned long>(pthread_self())];
    walk = std::make_unique<CMemoryWalk>(m_modem.Facts().memories);
    *ppIterator = walk.get();
    return true;
  });
}

bool CDeviceManager::GetPinStatus(DevDataDef::PinStatus* penStatus, DWORD* pdwPinTimes, DWORD* pdwPukTimes) {
  if (penStatus == nullptr) {
    return false;
  }
  Clear(pdwPinTimes);
  Clear(pdwPukTimes);
  return Guarded([&] {
    *penStatus = m_modem.Facts().pin;
    if (*penStatus == DevDataDef::PIN_ENABLED_NOT_VERIFIED || *penStatus == DevDataDef::PIN_BLOCKED) {
      AskTries(m_modem, pdwPinTimes, pdwPukTimes);
    }
    return true;
  });
}

}  // namespace modem
