// Reading an error descriptor: what was read is written as a text that reads the same.
#include "Fuzz.h"
#include "VerantiAPI.h"

void FuzzText(const std::string& text) {
    using Descriptor = CVerantiAPI::CErrorDescriptor;
    try {
        const Descriptor read = Descriptor::FromString(text);
        const Descriptor again = Descriptor::FromString(read.ToString());
        Require(again.m_ErrorCode == read.m_ErrorCode);
        Require(again.m_ErrorReason == read.m_ErrorReason);
    } catch (const Json::Exception&) {  // JSON, but no two integers
    }
}
