// SPDX-License-Identifier: GPL-3.0-or-later
// The device's message store: mail that the program writes is put into its outbox, and from there
// it is handed over to the mail program of the user's choice. Program thread only.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillet::port {

// One way for mail to leave the device.
struct MailService {
  std::u16string name;            // of the subkey of PMail\ServiceInfo
  std::u16string return_address;  // empty: it has none of its own
};

// What lies in the outbox.
struct WaitingMail {
  std::u16string id;       // as Begin got it
  std::u16string service;  // by which it leaves; empty: none could be named
  std::u16string to;
  std::u16string subject;
  std::u16string message;  // the whole message, as it will be handed over; 8-bit text is widened
  std::u16string reason;   // why it could not be handed over, for the user; empty: not tried yet
  bool held = false;       // it is not tried again by itself: it may have left already
};

class MailStore {
 public:
  virtual ~MailStore() = default;

  // Makes the outbox if there is none. False when it cannot be used; LastError then has the number.
  virtual bool Open() = 0;
  // Begins a message in place of one that was begun before. `id` names it for ever (letters, digits
  // and "-"); `service` by name.
  virtual void Begin(std::u16string_view id, std::u16string_view service) = 0;
  // The user's own address: the author, while no field "From" is set.
  virtual void SetSender(std::u16string_view address) = 0;
  // A header field in place of an earlier one of that name. What cannot stand in one (a line end, a
  // NUL, another control character) becomes a blank. "Bcc" is left out: it would be seen.
  virtual void SetField(std::u16string_view name, std::u16string_view value) = 0;
  // The lines may end with CR LF, LF or CR.
  virtual void SetBody(std::u16string_view text) = 0;
  // Puts the message into the outbox: when this is true it is there and survives a power cut. One
  // with an id that was put before, handed over or not, is there already, and stays as it was.
  virtual bool Put() = 0;
  virtual void Close() = 0;
  // Number of the last failure; 0 when there was none.
  virtual std::uint32_t LastError() = 0;

  // Whether a message of that id was ever put, handed over or not.
  virtual bool WasPut(std::u16string_view id) = 0;
  // What is in the outbox, the oldest first.
  virtual std::vector<WaitingMail> Waiting() = 0;
  // Hands over what is in the outbox, each message once; what stays is returned with its reason.
  // What an earlier run is still handing over is neither touched nor returned. Ends early when the
  // sockets are interrupted (port/sockets.h).
  virtual std::vector<WaitingMail> HandOver() = 0;
  // What the machine has now, in the order in which it is offered to the user.
  virtual std::vector<MailService> Services() = 0;
};

}  // namespace quillet::port
