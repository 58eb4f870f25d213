// Messages as the tuples that GDBus carries: "(suss)" without bytes, "(sussa(y))" with them. The
// bytes of "a(y)" are the payload's bytes, so they are wrapped where they are.
#pragma once

#include <glib.h>

#include <string>

#include "TermsDbusAPI.h"

/// Values that are returned are floating: the call that they are handed to takes them over.
namespace TermsDbusUtil {

template <typename Element>
void ReleaseArray(Element*& array) {
    delete[] array;
    array = nullptr;
}

/// Releases what the four pointers of a record hold and sets them to null.
inline void Release(TermsDbusMessage& msg) {
    ReleaseArray(msg.from);
    ReleaseArray(msg.type);
    ReleaseArray(msg.message);
    ReleaseArray(msg.buffer);
}

/// An empty record to fill, which is released at the end of its scope.
struct OwnedMessage : TermsDbusMessage {
    OwnedMessage() : TermsDbusMessage() {}
    ~OwnedMessage() { Release(*this); }
    OwnedMessage(const OwnedMessage&) = delete;
    OwnedMessage& operator=(const OwnedMessage&) = delete;
};

/// Fills an empty record from a received tuple.
/// @return false only for a null @p params. A tuple of another shape is true and fills nothing:
///   callers tell it by the texts, which stay null.
VERANTI_API bool MakeParamsToMessage(GVariant* params, TermsDbusMessage& msg);

/// Fills an empty record from the arguments of an incoming call.
/// @return false for a method that is not one of the two, and only then: the tuple's own type
///   decides about its shape.
VERANTI_API bool MakeParamsToMsgInput(std::string methodName, GVariant* params,
                                      TermsDbusMessage& msg);

/// Makes the arguments of a call.
/// @param[out] methodName the method that takes them.
/// @param msg its bytes are not copied: keep them until the value has been sent.
VERANTI_API GVariant* MakeMsgInputToParams(std::string& methodName, const TermsDbusMessage& msg);

/// Makes an answer, always with bytes: without a payload one byte of value 0.
/// @param msg as above.
VERANTI_API GVariant* MakeMsgOutputResponseToParams(const TermsDbusMessage& msg);

/// Makes the answer to a call that the process could not handle.
VERANTI_API GVariant* MakeFailResponseToParams();

/// Makes the body of a signal.
/// @param msg as above.
VERANTI_API GVariant* MakeSignalDataToParams(const TermsDbusMessage& msg);

/// The path of the object of a server: "a.b" has "/a/b".
VERANTI_API std::string GetObjectPath(std::string name);

}  // namespace TermsDbusUtil
