#include "TCMessage.h"

namespace Corvane {

TCMessage::TCMessage() = default;
TCMessage::~TCMessage() = default;

}  // namespace Corvane
