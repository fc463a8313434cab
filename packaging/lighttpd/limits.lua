-- Limits of one client's calls, which lighttpd itself does not have: whoever exceeds them is answered 503 before the
-- daemon hears of it. Run by mod_magnet (Debian: lighttpd-modules-lua) for every path under /api/.

-- A client may try 12 passwords a minute, and make 20 calls a second; so many at once are served without a wait.
local limits = {
  logins = { each_second = 12 / 60, at_once = 6 },
  calls = { each_second = 20, at_once = 65 },
}
local most_addresses = 20000

-- The server is one process, and its globals live as long as it does.
_G.currentconn_buckets = _G.currentconn_buckets or { count = 0, logins = {}, calls = {} }

local function forget_when_full()
  if _G.currentconn_buckets.count >= most_addresses then
    _G.currentconn_buckets = { count = 0, logins = {}, calls = {} }
  end
end

-- What has not yet drained out of the address's bucket. A clock that was set back empties it.
local function level(bucket, limit, now)
  if now < bucket.at then return 0 end
  return math.max(0, bucket.level - (now - bucket.at) * limit.each_second)
end

local function is_admitted(kind, address, now)
  forget_when_full()
  local buckets = _G.currentconn_buckets
  local bucket = buckets[kind][address]
  if not bucket then
    bucket = { level = 0, at = now }
    buckets[kind][address] = bucket
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
if is_admitted(kind, attributes["request.remote-addr"], seconds + nanoseconds / 1e9) then return 0 end
lighty.r.resp_header["Retry-After"] = "2"
lighty.r.resp_header["Content-Type"] = "application/problem+json"
lighty.r.resp_body.set('{"type":"about:blank","title":"Service Unavailable","status":503,"code":503,' ..
  '"detail":"Too many calls from this address; try again in a moment."}\n')
return 503
