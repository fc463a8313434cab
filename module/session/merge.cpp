#include "session/merge.h"

#include <iterator>

namespace {

bool isNfs(const Session& session) {
  return session.type == "NFS";
}

// One process serves all NFS clients, so their records are distinguished by address.
bool sameServiceConnection(const Session& a, const Session& b) {
  return a.pid == b.pid && (!isNfs(a) || !isNfs(b) || a.from == b.from);
}

}  // namespace

bool SDKSessionCmp(const Session& a, const Session& b) {
  if (a.pid != b.pid) return a.pid < b.pid;
  if (isNfs(a) && isNfs(b) && a.from != b.from) return a.from < b.from;
  return a.descr < b.descr;
}

void SDKSessionListMerge(SessionList& list) {
  if (list.empty()) return;
  auto it = list.begin();
  bool first = true;
  std::string prevDescr;
  std::string nextDescr;
  for (auto next = std::next(it); next != list.end(); next = std::next(it)) {
    if (!sameServiceConnection(*it, *next)) {
      it = next;
      first = true;
      continue;
    }
    prevDescr = first ? it->descr : nextDescr;
    nextDescr = next->descr;
    if (prevDescr != nextDescr) {
      it->descr.append(", ").append(next->descr);
      if (it->time < next->time) it->time = next->time;
    }
    list.erase(next);
    first = false;
  }
}

bool HttpSessionCmp(const Session& a, const Session& b) {
  if (const int order = a.who.compare(b.who); order != 0) return order < 0;
  if (const int order = a.from.compare(b.from); order != 0) return order < 0;
  return a.pid < b.pid;
}

void HttpSessionListMerge(SessionList& list) {
  if (list.empty()) return;
  auto it = list.begin();
  for (auto next = std::next(it); next != list.end(); next = std::next(it)) {
    if (it->from != next->from || it->who != next->who) {
      it = next;
      continue;
    }
    if (it->pid != next->pid) {
      it->pid = next->pid;
      it->descr.append(", ").append(next->descr);
    }
    list.erase(next);
  }
}
