-- Limits of one client's calls, which lighttpd itself does not have: a client that exceeds them receives 503 without
-- involving the daemon. Run by mod_magnet (Debian: lighttpd-modules-lua) for every path under /api/.

-- A page of another site must not use up the calls of a browser that shows it: browsers mark its calls, and they are
-- refused before they are counted.
local site = lighty.r.req_header["Sec-Fetch-Site"]
if site == "cross-site" or site == "same-site" then
  lighty.r.resp_header["Content-Type"] = "text/html"
  lighty.r.resp_body.set("<!DOCTYPE html><title>403 Forbidden</title>\n")
  return 403
end

-- A client is an IPv4 address or a /64 IPv6 network, the smallest that clients are assigned.
local limits = {
  logins = { each_second = 12 / 60, at_once = 6 },
  calls = { each_second = 20, at_once = 65 },
}
local most_clients = 20000

-- The server is one process, and its globals exist as long as it does.
_G.currentconn_buckets = _G.currentconn_buckets or { count = 0, logins = {}, calls = {} }

local function groups_of(text)
  local groups = {}
  for group in text:gmatch("%x+") do groups[#groups + 1] = group end
  return groups
end

-- The key of a client: an IPv4 address, or the first four groups of an IPv6 address.
local function client_of(address)
  if not address:find(":", 1, true) then return address end
  local head, tail = address:match("^(.-)::(.*)$")
  local groups = groups_of(head or address)
  local rest = groups_of(tail or "")
  for _ = #groups + #rest + 1, head and 8 or 0 do groups[#groups + 1] = "0" end
  for _, group in ipairs(rest) do groups[#groups + 1] = group end
  return table.concat(groups, ":", 1, math.min(4, #groups))
end

local function forget_when_full()
  if _G.currentconn_buckets.count >= most_clients then
    _G.currentconn_buckets = { count = 0, logins = {}, calls = {} }
  end
end

-- The present level of the client's bucket. A clock that was set back empties it.
local function level(bucket, limit, now)
  if now < bucket.at then return 0 end
  return math.max(0, bucket.level - (now - bucket.at) * limit.each_second)
end

local function is_admitted(kind, client, now)
  forget_when_full()
  local buckets = _G.currentconn_buckets
  local bucket = buckets[kind][client]
  if not bucket then
    bucket = { level = 0, at = now }
    buckets[kind][client] = bucket
    buckets.count = buckets.count + 1
  end
  local left = level(bucket, limits[kind], now)
  if left + 1 > limits[kind].at_once then return false end
  bucket.level, bucket.at = left + 1, now
  return true
end

local seconds, nanoseconds = lighty.c.hrtime()
local attributes = lighty.r.req_attr
local kind = attributes["uri.path"] == "/api/login" and "logins" or "calls"
if is_admitted(kind, client_of(attributes["request.remote-addr"]), seconds + nanoseconds / 1e9) then return 0 end
lighty.r.resp_header["Retry-After"] = "2"
lighty.r.resp_header["Content-Type"] = "application/problem+json"
lighty.r.resp_body.set('{"type":"about:blank","title":"Service Unavailable","status":503,"code":503,' ..
  '"detail":"Too many calls from this address; try again in a moment."}\n')
return 503
