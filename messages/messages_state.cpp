#include "messages/messages_state.h"

constinit MessagesImageState gMessages = {};

void ResetMessagesState() { gMessages = MessagesImageState{}; }
