/// @file
/// The C interface of the bus server toolkit: a process owns a name on the system message bus,
/// answers the messages of others through a callback, sends signals and calls others that run the
/// same toolkit. It has nothing to do with the terms client beside it.
///
/// A process has one server. In order:
/// 1. InitiateTermsDbusServer() with a handle name of the process's choice,
/// 2. RegisterTermsDbusCallback() for the messages and, if wanted, for the name,
/// 3. CreateTermsDbusServer() with the bus name, and a GLib main loop that runs,
/// 4. SendTermsDbusSignal() and SendTermsDbusSyncMessage() as needed,
/// 5. CloseTermsDbusServer().
/// Each function that takes a service name finds the server by the handle name or the bus name.
/// There is no function that listens to signals: g_dbus_connection_signal_subscribe() of GIO does,
/// and for people `veranti bus listen`.
///
/// The server has one object, whose path is "/" and the bus name with "/" for each ".", and on it
/// one interface, called like the bus name, with the methods SendMessage(from s, code u, type s,
/// message s) and SendMessageWithBuffer(the same, buffer a(y)). Both answer with all five. The
/// buffer is declared as an array of anything; only a(y) is read. Whoever
/// asks for the same name with replacement takes it; the first owner gets it back when that one
/// ends.
///
/// Unless a function says otherwise:
/// - a result of 1 means done, 0 means not: a null argument, no server under that name, or a bus
///   that did not do it;
/// - nothing is locked: a process does not create, close and use its server from several threads at
///   once, and the running loop counts as a user. Callbacks run on the thread of the main loop,
///   that is the loop of the thread-default context of CreateTermsDbusServer()'s caller; close the
///   server there. A callback may call every function of this header and the terms client's. It may
///   close its server, too: a message's is answered all the same, and the loop goes on when the bus
///   has the answer, or after 25 s;
/// - the server uses the process's shared system bus connection. Where that was first made in
///   another context than the server's, let the server's context go on until it is idle before you
///   close the server of a bus that has gone: an event of the end may still be on its way;
/// - a name, path or time limit that GDBus does not take (a signal called "no name", a limit below
///   -1) is also reported by GLib, as a critical warning;
/// - pthread_cancel() ends no thread in a function of this header, and must not end the one that
///   runs the main loop: GLib does not expect that;
/// - without memory the process ends, or std::bad_alloc passes through the function.
///
/// What the library logs is listed in [docs/log.md](docs/log.md).
#pragma once

// NOLINTBEGIN(modernize-deprecated-headers,modernize-use-using): this is C
#include <stdint.h>

#include "VerantiExport.h"

#ifdef __cplusplus
extern "C" {
#endif

/// What is sent and received: the arguments of a call, its answer, the body of a signal.
///
/// A record that is sent is only read. A null text is sent as an empty one, and a text that is not
/// UTF-8 with U+FFFD in the place of each byte that is not. A record that was received owns its
/// four pointers: ReleaseTermsDbusMessage() gives them back. A record that is filled must be empty,
/// as InitiateTermsDbusMessage() with zeros makes it: what it held would be lost.
typedef struct TermsDbusMessage {
    char* from;     ///< the sender's label, free text
    uint32_t code;  ///< a number for the two sides to agree on
    char* type;     ///< a label of the kind of message, free text
    char* message;  ///< the text
    /// Bytes beside the text, or null. They are sent from where they are, without a copy. On the
    /// bus each of them takes eight bytes, so a bus with the usual limit of 32 MiB for a message
    /// carries at most 4 MB, and cuts off who sends more. One byte of value 0 stands for no bytes
    /// and arrives as null.
    uint8_t* buffer;
    uint32_t buffer_size;  ///< the number of bytes at buffer; 0 when there are none
} TermsDbusMessage;

/// The slot that RegisterTermsDbusCallback() fills.
typedef enum TermsDbusCallbackType VERANTI_ANY_INT {
    TERMS_DBUS_CALLBACK_NAME_ACQUIRED = 0,  ///< a TermsDbusNameCallback
    TERMS_DBUS_CALLBACK_NAME_LOST = 1,      ///< a TermsDbusNameCallback
    TERMS_DBUS_CALLBACK_MESSAGE = 2         ///< a TermsDbusMessageCallback
} TermsDbusCallbackType;

/// Called when the server has got its bus name; or when it has lost it or does not get it. It must
/// not throw.
/// @param user_data what was registered.
typedef void (*TermsDbusNameCallback)(void* user_data);

/// Called for each message. It must not throw.
/// @param method "SendMessage" or "SendMessageWithBuffer".
/// @param request the message, which ends with the call. Its texts are null when the caller sent
///   bytes of another type than "a(y)", which the bus lets pass; they are never null otherwise.
/// @param reply empty; fill it with what DuplicateTermsDbusText() and AllocateTermsDbusBuffer()
///   return. The server releases it after it has answered; keep no pointer into it.
/// @param user_data what was registered.
/// @return 0 to answer with the failure message {"dbus_result":"fail","errmsg":"error handling"},
///   anything else to answer with the reply.
typedef int (*TermsDbusMessageCallback)(const char* method, TermsDbusMessage* request,
                                        TermsDbusMessage* reply, void* user_data);

/// @name The server
/// @{

/// Makes the process's server, without touching the bus. An earlier server is forgotten, not
/// closed: close it first.
/// @param name the handle name.
VERANTI_API int InitiateTermsDbusServer(const char* name);

/// Registers a callback; a later one of the same type replaces it. Whether there is a server of
/// that name reaches the log only.
/// @param service_name either name of the server.
/// @param type the slot; a value that is no slot registers nothing.
/// @param callback the function, of the slot's type; null empties the slot. Without a message
///   callback each message is answered with empty texts. ISO C has no conversion from a function to
///   void*: with -pedantic write `__extension__(void*) function`.
/// @param user_data passed to the function.
VERANTI_API void RegisterTermsDbusCallback(const char* service_name, TermsDbusCallbackType type,
                                           void* callback, void* user_data);

/// Puts the server on the system bus. One that is there already is closed first.
/// @param name the bus name: two or more words with dots between them, at most 255 characters. A
///   word has letters, digits and "_", and does not begin with a digit. Who owns the name is the
///   bus's decision, and comes later: the name callbacks tell.
/// @return 1, or 0 at the first step that fails. What came before it stays, such as the request for
///   the name, until CloseTermsDbusServer().
VERANTI_API int CreateTermsDbusServer(const char* name);

/// Sends a signal to everybody who listens, from the server's object and interface.
/// @param service_name either name of the server.
/// @param signal_name the signal's name: letters, digits and "_", and not a digit first.
/// @param message its body; null gives 0. It may be changed or released after the call, unless the
///   process prints its messages (G_DBUS_DEBUG) or filters them on the shared connection: then its
///   bytes must stay until the message is out.
VERANTI_API int SendTermsDbusSignal(const char* service_name, const char* signal_name,
                                    TermsDbusMessage* message);

/// Calls another server and waits. A server that calls itself from its main loop's thread waits for
/// nothing until the time is up.
/// @param service_name either name of the own server.
/// @param destination the other's bus name.
/// @param request what to send, with or without bytes; null gives 0.
/// @param reply an empty record that is filled when the result is 1, also with the other's failure
///   message; give it back with ReleaseTermsDbusMessage(). It stays empty, with null texts, when
///   the other answers with something else than a message, which gives 1 too. Null gives 0.
/// @param timeout_ms the longest wait in milliseconds; -1 is GDBus's own limit (25 s), and 0 gives
///   up before an answer can come, though the message is sent.
VERANTI_API int SendTermsDbusSyncMessage(const char* service_name, const char* destination,
                                         TermsDbusMessage* request, TermsDbusMessage* reply,
                                         int timeout_ms);

/// Takes the server off the bus and deletes it.
/// @param service_name either name of the server.
VERANTI_API int CloseTermsDbusServer(const char* service_name);

/// @}
/// @name Records
/// A null record is left alone.
/// @{

/// Stores the values in the record as they are: nothing is copied or released.
VERANTI_API void InitiateTermsDbusMessage(TermsDbusMessage* record, char* from, uint32_t code,
                                          char* type, char* message, uint8_t* buffer,
                                          uint32_t buffer_size);

/// Releases what the four pointers of a record hold and sets them to null; code and buffer_size
/// keep their values. For records that were received, or whose pointers come from the two functions
/// below.
VERANTI_API void ReleaseTermsDbusMessage(TermsDbusMessage* record);

/// Copies a text into a block for a record. ReleaseTermsDbusMessage() on a record that has it is
/// the only way to give it back.
/// @return the copy; null for null, or when there is no memory.
VERANTI_API char* DuplicateTermsDbusText(const char* text);

/// Allocates a block of bytes for a record, which is given back like a text.
/// @param size in bytes.
/// @return the block, not zeroed; null when there is no memory.
VERANTI_API void* AllocateTermsDbusBuffer(uint32_t size);

/// @}

// NOLINTEND(modernize-deprecated-headers,modernize-use-using)

#ifdef __cplusplus
}
#endif
