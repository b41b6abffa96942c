// A platform thread that runs a lambda.
#pragma once

#include "platform/JThread.h"

#include <functional>
#include <utility>

class CTestThread : public JThread {
public:
  CTestThread() = default;
  explicit CTestThread(std::function<void()> fnBody) : m_fnBody(std::move(fnBody)) {}
  ~CTestThread() override { Kill(); }

  /// Runs that body when no other run is under way.
  int StartWith(std::function<void()> fnBody) {
    return StartPrepared([&] { m_fnBody = std::move(fnBody); });
  }

protected:
  void* Thread() override {
    ThreadStarted();
    m_fnBody();
    return nullptr;
  }

private:
  std::function<void()> m_fnBody;
};

const unsigned int kDeadlineMs = 10000;  // for what should happen at once
