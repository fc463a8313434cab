#include "calls/problem.h"

#include <array>

namespace calls {
namespace {

// In the order of the enumeration.
constexpr std::array<ProblemRow, 18> kRows = {{
    {400, 400, "Bad Request", "The request is malformed; see /api/openapi.json."},
    {400, 400, "Bad Request",
     "The body is not a JSON object in UTF-8, or it is nested too deep or has too many values."},
    {401, 401, "Unauthorized", "Not logged in, or the login has ended; log in again."},
    {401, 401, "Unauthorized",
     "The login was refused. Check the user name and password. A login link works once, within "
     "five minutes."},
    {401, 401, "Unauthorized",
     "On the local socket the caller is identified by its process. The process must have an "
     "account, and the call must carry neither a cookie nor a client address."},
    {403, 105, "Forbidden", "Administrator rights are required."},
    {403, 403, "Forbidden", "This login is view-only."},
    {403, 403, "Forbidden",
     "The call comes from a page of another origin; use the page of this server."},
    {404, 404, "Not Found",
     "There is no such API, version or method; /api/openapi.json lists them."},
    {405, 405, "Method Not Allowed",
     "This path does not support the HTTP method; Allow lists those that it does."},
    {409, 7100, "Conflict",
     "Too few administrators who can log in would remain, so nothing was changed."},
    {409, 409, "Conflict",
     "One of the accounts was not disabled here, so nothing was changed; /api/disabled lists "
     "them."},
    {413, 413, "Content Too Large",
     "The header lines are longer than 64 KiB, or the body than 1 MiB, or a login's than 4 KiB."},
    {415, 415, "Unsupported Media Type", "A body must be application/json."},
    {500, 117, "Internal Server Error",
     "The request could not be completed; the server's log has the reason."},
    {500, 500, "Internal Server Error",
     "The method ended without an answer; the server's log has details."},
    {503, 503, "Service Unavailable", "Too many calls at once; try again in a moment."},
    {504, 504, "Gateway Timeout", "The method did not finish in time and was stopped."},
}};

}  // namespace

const ProblemRow& rowOf(Problem problem) {
  return kRows.at(static_cast<std::size_t>(problem));
}

Problem problemOfCode(int code) {
  switch (code) {
    case 105:
      return Problem::kNotAdministrator;
    case 7100:
      return Problem::kTooFewAdministrators;
    default:
      return Problem::kWorkFailed;
  }
}

}  // namespace calls
