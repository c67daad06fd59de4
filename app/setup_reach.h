// SPDX-License-Identifier: GPL-3.0-or-later
// How a server is reached, as Quick Setup asks for it: port and security. Program thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "app/pages/page.h"
#include "base/prefs.h"
#include "base/server_security.h"
#include "port/message.h"

namespace quillet {

struct Reach {
  std::u16string port = u"119";  // as it was typed
  ServerSecurity security = ServerSecurity::kNone;
  bool operator==(const Reach&) const = default;
};

// The fields of the first page, and what is known of the server beside them. While the user has not
// touched the fields they follow the server's name.
class SetupReach {
 public:
  SetupReach(const Prefs& prefs, std::u16string_view server);

  void Show(port::WindowHandle dialog) const;
  void Read(port::WindowHandle dialog);
  void Handle(port::WindowHandle dialog, const port::Message& message) const;
  // Of what was read.
  std::optional<Refusal> RefusalOfPort() const;

  // With what was read, for that server: shows what is set for it already. One with nothing set is
  // tried on the port of TLS, three seconds at most; true when it answers: the page is to stay, so
  // that the user sees what was filled in.
  bool FindOut(const Prefs& prefs, port::WindowHandle dialog, const std::u16string& server);

  // Into a record that has the server.
  void Take(Prefs& prefs, std::size_t server) const;
  // Beside the record, which is not stored yet.
  void StoreSecurity(const Prefs& prefs) const;

 private:
  void Offer(port::WindowHandle dialog, const std::u16string& server, Reach reach,
             std::u16string_view note);

  Reach reach_;
  Reach offered_;               // what the page showed by itself last
  std::u16string offered_for_;  // that server
  std::u16string probed_;       // the server that was tried last
  std::u16string note_;
};

}  // namespace quillet
