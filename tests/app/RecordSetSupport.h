// Filling and reading a set of records in one line.
#pragma once

#include "AppSupport.h"
#include "SMSRecordSetImpl.h"

#include <initializer_list>
#include <string>

/// "identifier:content" of every record, in order; leaves the cursor on the first.
inline std::string Contents(CSMSRecordSetImpl& set) {
  std::string all;
  for (long lState = set.MoveFirst(); lState == 0; lState = set.MoveNext()) {
    all += (all.empty() ? "" : " ") + std::to_string(set.GetMSGID()) + ":" + Utf8(set.GetContent());
  }
  set.MoveFirst();
  return all;
}

inline long Push(CSMSRecordSetImpl& set, CSMSRecordImpl record) { return set.PushSMSRecord(record); }

inline void PushMany(CSMSRecordSetImpl& set, std::initializer_list<long> ids) {
  for (const long lID : ids) {
    Push(set, MakeRecord(lID));
  }
}
