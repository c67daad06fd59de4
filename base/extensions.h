// SPDX-License-Identifier: GPL-3.0-or-later
// What the program does beyond its given behaviour, each to be switched off by a value of its own
// below Software\Brindle\Quillet\Extensions. One table has them all; the page that shows them, what
// is read and what is written follow it. Program thread only.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quillet {

inline constexpr std::u16string_view kExtensionsPath = u"Software\\Brindle\\Quillet\\Extensions";

// Of a switch any number but 0 is on.
struct Extensions {
  // Queued posts are sent with a Message-ID of their own, so that a second attempt is known for
  // one.
  std::uint32_t postmessageids = 1;
  // Passwords of news servers are kept by the desktop's password store.
  std::uint32_t passwordstore = 0;
  // A long import shows its progress and can be cancelled.
  std::uint32_t importprogress = 1;
  // Shown text is decoded: encoded words, charsets, transfer encodings, parts. See mime/.
  std::uint32_t decodemime = 1;
  // What is written and is not ASCII goes out as UTF-8, with the header fields that say so.
  std::uint32_t postcharsets = 1;
  // Seconds that a server may be silent before the connection counts as lost; 0: for ever.
  std::uint32_t stalllimit = 90;
  // How often a lost connection is made again in one run.
  std::uint32_t retries = 3;
  // A server that asks for a login in the middle gets one, and the command once more.
  std::uint32_t loginlater = 1;
  // All addresses of a server are tried, IPv6 too; off: its first IPv4 address.
  std::uint32_t alladdresses = 1;
  // An article that is stored already is put on the chain of each other group that offers it.
  std::uint32_t crossposts = 1;
  // The tree takes the nearest stored article of the whole References as the parent; what is stored
  // stays.
  std::uint32_t ancestors = 1;
  // The last group and the place in it are opened at the start.
  std::uint32_t restoreplace = 1;
  // An empty group list says what to do next.
  std::uint32_t startguide = 1;
  // The progress of a connection has a line of figures, and the status line says what came.
  std::uint32_t progressline = 1;
  // Space pages and goes on to the next unread article, N goes there at once.
  std::uint32_t readon = 1;
  // Wide windows show dates in the thread rows and in the header bar.
  std::uint32_t rowdetails = 1;
  bool operator==(const Extensions&) const = default;
};

enum class ExtensionKind { kSwitch, kNumber };

struct Extension {
  std::u16string_view name;  // of its value
  ExtensionKind kind = ExtensionKind::kSwitch;
  std::uint32_t Extensions::*value = nullptr;
  std::uint32_t highest = 1;         // of a number; one above it counts as missing
  std::uint32_t control = 0;         // its box or edit on the page
  std::uint32_t line_control = 0;    // the line below it
  std::u16string_view title;         // beside the box, with its accelerator key; of a number what
                                     // it is called in a refusal
  std::u16string_view what_it_does;  // one line for the user
};

// In the order of the page.
std::span<const Extension> AllExtensions();

// As they are stored; what is missing or of another type has its default.
Extensions ReadExtensions();

// Puts in force what others do not ask for each time: whether mime/ decodes. At the start and after
// a change.
void ApplyExtensions(const Extensions& extensions);

// Stores those that differ from `before`, in one step; false when that could not be done.
bool WriteExtensions(const Extensions& before, const Extensions& after);

}  // namespace quillet
