#include "QVConsumer/QVCPLoyaltyDetails.h"

const char* const QVCLoyaltyPointType_toString[3] = {"redeemed", "earned", "balance"};
