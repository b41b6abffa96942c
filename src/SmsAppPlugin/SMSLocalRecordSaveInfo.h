// The table of the local store, and the lengths its texts are meant for.
#pragma once

/// One row a message; the order of the columns is the format: rows are written and read by position.
struct SMSLocalRecordSaveInfo {
  static constexpr int FIELD_NUMBER = 12;
  static constexpr const char* FIELD_NAME[FIELD_NUMBER] = {
      "NUMBER",  "CONTENT",   "TIME",      "ISREAD", "POSITION",        "SENDRESULT",
      "MSGTYPE", "LONGSMSID", "TOTALPACK", "PACK",   "INITIALPOSITION", "PRIORITY"};
  /// Describes the columns; longer values are stored whole.
  static constexpr int FIELD_LEN[FIELD_NUMBER] = {502, 8200, 22, 10, 10, 10, 10, 10, 10, 10, 10, 10};
  /// The capacity the store reports; it goes on storing beyond it.
  static constexpr int FIEL_RECORD_MAXCOUNT = 10000;
  /// Below the user's data folder; the store itself opens the database by its connection name.
  static constexpr const char* FILE_NAME = "userdata/SMS.DTC";
};

const int MSG_CONTENT_MAX_LEN = 2048;
const int MSG_NUMBER_MAX_LEN = 24;
const int MSG_TIME_MAX_LEN = 20;
