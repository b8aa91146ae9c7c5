// The smallest X session manager that can end a session: it prints its address for SESSION_MANAGER,
// takes in the clients that register, and once TRIGGER_FILE exists asks the first of them to save for
// a shutdown, as a desktop does at logout. It prints "saved" when that client says it is done, then
// ends. For the desktop end-to-end test only; it accepts any local client without authentication.
//
//   qb-session-manager TRIGGER_FILE
#include <X11/ICE/ICElib.h>
#include <X11/SM/SMlib.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <unistd.h>
#include <vector>

namespace {

SmsConn firstClient = nullptr;
bool saved = false;

Status registerClient(SmsConn connection, SmPointer, char *)
{
    SmsRegisterClientReply(connection, SmsGenerateClientID(connection));
    return 1;
}

void interactRequest(SmsConn connection, SmPointer, int)
{
    SmsInteract(connection);
}
void interactDone(SmsConn, SmPointer, Bool) {}
void saveYourselfRequest(SmsConn, SmPointer, int, Bool, int, Bool, Bool) {}
void saveYourselfPhase2Request(SmsConn connection, SmPointer)
{
    SmsSaveYourselfPhase2(connection);
}

void saveYourselfDone(SmsConn connection, SmPointer, Bool)
{
    if (connection == firstClient) {
        saved = true;
        std::puts("saved");
        std::fflush(stdout);
    }
}

void closeConnection(SmsConn, SmPointer, int, char **) {}

void setProperties(SmsConn, SmPointer, int count, SmProp **properties)
{
    for (int i = 0; i < count; ++i)
        SmFreeProperty(properties[i]);
    free(properties);
}

void deleteProperties(SmsConn, SmPointer, int, char **) {}
void getProperties(SmsConn connection, SmPointer)
{
    SmsReturnProperties(connection, 0, nullptr);
}

Status newClient(SmsConn connection, SmPointer, unsigned long *mask, SmsCallbacks *callbacks, char **)
{
    std::memset(callbacks, 0, sizeof *callbacks);
    *mask = SmsRegisterClientProcMask | SmsInteractRequestProcMask | SmsInteractDoneProcMask |
            SmsSaveYourselfRequestProcMask | SmsSaveYourselfP2RequestProcMask | SmsSaveYourselfDoneProcMask |
            SmsCloseConnectionProcMask | SmsSetPropertiesProcMask | SmsDeletePropertiesProcMask |
            SmsGetPropertiesProcMask;
    callbacks->register_client.callback = registerClient;
    callbacks->interact_request.callback = interactRequest;
    callbacks->interact_done.callback = interactDone;
    callbacks->save_yourself_request.callback = saveYourselfRequest;
    callbacks->save_yourself_phase2_request.callback = saveYourselfPhase2Request;
    callbacks->save_yourself_done.callback = saveYourselfDone;
    callbacks->close_connection.callback = closeConnection;
    callbacks->set_properties.callback = setProperties;
    callbacks->delete_properties.callback = deleteProperties;
    callbacks->get_properties.callback = getProperties;
    if (!firstClient)
        firstClient = connection;
    return 1;
}

Bool anyHost(char *)
{
    return True;
}
// A client that goes away must not end the manager (the default handler exits).
void ignoreIOError(IceConn) {}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fputs("usage: qb-session-manager TRIGGER_FILE\n", stderr);
        return 2;
    }
    char error[256];
    int listenerCount = 0;
    IceListenObj *listeners = nullptr;
    IceSetIOErrorHandler(ignoreIOError);
    if (!SmsInitialize("qb-session-manager", "1.0", newClient, nullptr, anyHost, sizeof error, error) ||
        !IceListenForConnections(&listenerCount, &listeners, sizeof error, error)) {
        std::fprintf(stderr, "qb-session-manager: %s\n", error);
        return 1;
    }
    for (int i = 0; i < listenerCount; ++i)
        IceSetHostBasedAuthProc(listeners[i], anyHost);
    std::printf("%s\n", IceComposeNetworkIdList(listenerCount, listeners));
    std::fflush(stdout);

    std::vector<IceConn> connections;
    bool asked = false;
    while (!saved) {
        std::vector<pollfd> watched;
        for (int i = 0; i < listenerCount; ++i)
            watched.push_back({IceGetListenConnectionNumber(listeners[i]), POLLIN, 0});
        for (IceConn connection : connections)
            watched.push_back({IceConnectionNumber(connection), POLLIN, 0});
        poll(watched.data(), watched.size(), 100);
        for (int i = 0; i < listenerCount; ++i) {
            IceAcceptStatus status;
            IceConn connection =
                (watched[i].revents & POLLIN) ? IceAcceptConnection(listeners[i], &status) : nullptr;
            if (!connection)
                continue;
            IceConnectStatus state;
            while ((state = IceConnectionStatus(connection)) == IceConnectPending)
                IceProcessMessages(connection, nullptr, nullptr);
            if (state == IceConnectAccepted)
                connections.push_back(connection);
        }
        for (std::size_t i = 0; i < connections.size(); ++i) {
            if (!(watched[listenerCount + i].revents & (POLLIN | POLLHUP)))
                continue;
            if (IceProcessMessages(connections[i], nullptr, nullptr) == IceProcessMessagesIOError) {
                IceCloseConnection(connections[i]);
                connections[i] = nullptr;
            }
        }
        std::erase(connections, nullptr);
        if (firstClient && !asked && access(argv[1], F_OK) == 0) {
            SmsSaveYourself(firstClient, SmSaveBoth, True, SmInteractStyleNone, False);
            asked = true;
        }
    }
    return 0;
}
