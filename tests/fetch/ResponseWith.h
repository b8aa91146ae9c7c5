// A loopback response with one field changed, so that each route of a test is set up in one statement;
// it never changes the response it was given.
#pragma once

#include "LoopbackServer.h"

template <typename Field, typename Value>
LoopbackServer::Response with(LoopbackServer::Response response, Field LoopbackServer::Response::*field,
                              const Value &value)
{
    response.*field = Field(value);
    return response;
}
