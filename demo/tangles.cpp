// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/tangles.h"

#include <array>
#include <string_view>
#include <utility>

#include "util/format.h"

namespace quillet::demo {
namespace {

using namespace std::string_view_literals;

constexpr std::array kMarks = {"RE: "sv,        "re: "sv, "Re:"sv,        "rE:   "sv, "Re: Re: "sv,
                               "Re: RE:re: "sv, "Re :"sv, "Re: (fwd) "sv, ""sv};

void SwapFirstCase(std::string& text) {
  if (text.empty()) return;
  char& first = text.front();
  if (first >= 'A' && first <= 'Z') {
    first = static_cast<char>(first + ('a' - 'A'));
  } else if (first >= 'a' && first <= 'z') {
    first = static_cast<char>(first - ('a' - 'A'));
  }
}

std::string LastOf(const std::string& references) {
  return references.substr(references.rfind(' ') + 1);
}

}  // namespace

Tangles::Tangles(std::uint64_t seed, std::vector<std::string> groups)
    : random_(~seed), groups_(std::move(groups)) {}

void Tangles::Tangle(Place& place, std::size_t index) {
  SpellSubject(place, index);
  if (random_.OneIn(12)) return ContinueLongThread(place);
  if (random_.OneIn(8) && KeepPromise(place)) return;
  if (random_.OneIn(15)) return AnswerUnsent(place, index);
  Misplace(place, index);
}

// A quarter of the topics is shared by many threads.
void Tangles::SpellSubject(Place& place, std::size_t index) {
  if (place.references.empty()) {
    if (!random_.OneIn(4)) place.topic += FormatNarrow(", part %u", index);
    if (random_.OneIn(10)) SwapFirstCase(place.topic);
    place.subject = place.topic;
    return;
  }
  if (random_.OneIn(40)) {
    place.topic = FormatNarrow("Something else %u (was: %s)", index % 50, place.topic);
    place.subject = place.topic;
  } else if (random_.OneIn(4)) {
    place.subject = std::string(random_.Pick(kMarks)) + place.topic;
  }
}

bool Tangles::KeepPromise(Place& place) {
  if (promised_.empty()) return false;
  Promised promised = std::move(promised_.front());
  promised_.pop_front();
  place = std::move(promised.place);
  if (random_.OneIn(6)) place.references = promised.reply_id;  // a circle
  return true;
}

// Every other of these parents is sent in the end.
void Tangles::AnswerUnsent(Place& place, std::size_t index) {
  Place parent = place;
  parent.message_id =
      FormatNarrow("<unsent.%u.%x@news.example.org>", index, random_.Next() & 0xFFFFFFFFU);
  parent.references.clear();
  parent.subject = parent.topic;
  place.references = parent.message_id;
  place.subject = "Re: " + place.topic;
  if (random_.OneIn(2)) promised_.push_back({std::move(parent), place.message_id});
}

// Every article answers the one before it and names no other.
void Tangles::ContinueLongThread(Place& place) {
  if (!long_thread_.message_id.empty()) {
    place.references = long_thread_.message_id;
    place.topic = long_thread_.topic;
    place.subject = "Re: " + place.topic;
    place.groups = long_thread_.groups;
  }
  long_thread_ = place;
}

void Tangles::Misplace(Place& place, std::size_t index) {
  if (place.references.empty()) return;
  if (random_.OneIn(15)) place.groups = {groups_[random_.Below(groups_.size())]};
  if (random_.OneIn(20)) {
    place.references += FormatNarrow(" <lost.%u@news.example.org>", index);
  } else if (random_.OneIn(100)) {
    place.references = place.message_id;
  } else if (random_.OneIn(3)) {
    place.references = LastOf(place.references);
  }
}

}  // namespace quillet::demo
