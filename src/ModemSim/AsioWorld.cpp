// Timers and the clock.
#include "AsioWorld.h"

#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <ctime>
#include <memory>
#include <utility>

namespace modem_sim {

namespace asio = boost::asio;

void CAsioWorld::After(int milliseconds, std::function<void()> call) {
  const auto timer = std::make_shared<asio::steady_timer>(m_context, std::chrono::milliseconds(milliseconds));
  timer->async_wait([timer, call = std::move(call)](const boost::system::error_code& error) {
    if (!error) call();
  });
}

sms_pdu::TimeStamp CAsioWorld::Now() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  sms_pdu::TimeStamp time;
  time.year = static_cast<WORD>(local.tm_year + 1900);
  time.month = static_cast<BYTE>(local.tm_mon + 1);
  time.day = static_cast<BYTE>(local.tm_mday);
  time.hour = static_cast<BYTE>(local.tm_hour);
  time.minute = static_cast<BYTE>(local.tm_min);
  time.second = static_cast<BYTE>(local.tm_sec > 59 ? 59 : local.tm_sec);
  time.zoneQuarters = static_cast<std::int8_t>(local.tm_gmtoff / 900);
  return time;
}

}  // namespace modem_sim
