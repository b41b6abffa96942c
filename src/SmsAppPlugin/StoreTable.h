// Name of the local store's table.
#pragma once

const char* const kStoreTable = "SmsLocalRecord";
