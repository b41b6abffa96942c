#include "CauseText.h"

#include <algorithm>
#include <iterator>

namespace modem {

namespace {

struct Cause {
  int code;
  const char* text;
};

// In rising order.
const Cause kCauses[] = {
    // 3GPP TS 24.011, E-2 and E-4
    {1, "the number is not assigned"},
    {8, "barred by the operator"},
    {10, "calls are barred for this subscription"},
    {17, "the network failed"},
    {21, "rejected by the short message transfer"},
    {22, "congestion, or the memory of the receiver is exceeded"},
    {27, "the destination is out of service"},
    {28, "the subscriber is not identified"},
    {29, "the facility was rejected"},
    {30, "the subscriber is unknown"},
    {38, "the network is out of order"},
    {41, "a temporary failure of the network"},
    {42, "congestion of the network"},
    {47, "no resources available"},
    {50, "the facility is not subscribed to"},
    {69, "the facility is not implemented"},
    {81, "a wrong short message reference"},
    {95, "an invalid message"},
    {96, "mandatory information is invalid"},
    {97, "the message type does not exist"},
    {98, "the message does not fit the protocol's state"},
    {99, "an information element does not exist"},
    {111, "a protocol error"},
    {127, "a failure of another network behind this one"},
    // 3GPP TS 23.040, 9.2.3.22
    {128, "telematic interworking is not supported"},
    {129, "short messages of this type are not supported"},
    {130, "the short message cannot be replaced"},
    {143, "an unspecified error of the protocol identifier"},
    {144, "the coding or alphabet is not supported"},
    {145, "the message class is not supported"},
    {159, "an unspecified error of the data coding scheme"},
    {160, "the command cannot be carried out"},
    {161, "the command is not supported"},
    {175, "an unspecified error of the command"},
    {176, "this kind of message is not supported"},
    {192, "the service centre is busy"},
    {193, "the service centre has no subscription"},
    {194, "the service centre's system failed"},
    {195, "the subscriber's number is invalid"},
    {196, "the destination is barred"},
    {197, "a duplicate was rejected"},
    {198, "this validity period is not supported"},
    {199, "this format of the validity period is not supported"},
    {208, "the SIM's memory for messages is full"},
    {209, "the SIM cannot store messages"},
    {210, "an error in the modem"},
    {211, "the memory is exceeded"},
    {212, "an error of the SIM's application toolkit"},
    {213, "an error of data download to the SIM"},
    {255, "an unspecified error"},
    // 3GPP TS 27.005, 3.2.5
    {300, "a failure of the modem"},
    {301, "the modem's message service is reserved"},
    {302, "the operation is not allowed"},
    {303, "the operation is not supported"},
    {304, "a parameter in PDU mode is invalid"},
    {305, "a parameter in text mode is invalid"},
    {310, "no SIM is inserted"},
    {311, "the SIM wants its PIN"},
    {312, "the phone wants the PIN of this SIM"},
    {313, "a failure of the SIM"},
    {314, "the SIM is busy"},
    {315, "a wrong SIM"},
    {316, "the SIM wants its PUK"},
    {317, "the SIM wants its PIN2"},
    {318, "the SIM wants its PUK2"},
    {320, "a failure of the memory"},
    {321, "there is no message at this index"},
    {322, "the memory is full"},
    {330, "the service centre's number is not known"},
    {331, "there is no network"},
    {332, "the network did not answer in time"},
    {340, "no acknowledgement was expected"},
    {500, "an unknown error"},
};

const char* RangeText(int code) {
  return code < 0     ? "no cause"
         : code < 128 ? "a cause of the network without a name"
         : code < 256 ? "a cause of the service centre without a name"
                      : "a cause of the modem's maker";
}

}  // namespace

const char* CauseText(int code) {
  const auto it = std::lower_bound(std::begin(kCauses), std::end(kCauses), code,
                                   [](const Cause& cause, int wanted) { return cause.code < wanted; });
  return it != std::end(kCauses) && it->code == code ? it->text : RangeText(code);
}

}  // namespace modem
