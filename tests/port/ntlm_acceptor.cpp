// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/port/ntlm_acceptor.h"

#include <gssapi/gssapi.h>
#include <gssapi/gssapi_ext.h>

#include "util/text.h"

namespace quillet::port {
namespace {

gss_OID Ntlm() {
  static char bytes[] = "\x2B\x06\x01\x04\x01\x82\x37\x02\x02\x0A";
  static gss_OID_desc oid = {10, bytes};
  return &oid;
}

std::size_t Number(std::string_view token, std::size_t at, std::size_t bytes) {
  std::size_t number = 0;
  for (std::size_t i = bytes; i-- > 0;) {
    number = number << 8 | (at + i < token.size() ? static_cast<unsigned char>(token[at + i]) : 0U);
  }
  return number;
}

std::u16string Text(std::string_view token, std::size_t field) {
  const std::size_t length = Number(token, field, 2);
  const std::size_t at = Number(token, field + 4, 4);
  std::u16string text;
  for (std::size_t i = 0; i + 1 < length; i += 2) {
    text += static_cast<char16_t>(Number(token, at + i, 2));
  }
  return text;
}

}  // namespace

NtlmUsers::NtlmUsers() : file_("NTLM_USER_FILE", folder_ / "users") {
  WriteAll(folder_ / "users",
           "NEWS:ann:secret\n"
           "NEWS:d@e:at\n"
           "WORK:bob:p\xC3\xA4ss\xE2\x82\xAC\n"
           ":carl:nodomain\n");
}

struct NtlmAcceptor::State {
  gss_cred_id_t credentials = GSS_C_NO_CREDENTIAL;
  gss_ctx_id_t context = GSS_C_NO_CONTEXT;
};

NtlmAcceptor::NtlmAcceptor() : state_(std::make_unique<State>()) {
  OM_uint32 minor = 0;
  gss_OID_set_desc mechanisms = {1, Ntlm()};
  const OM_uint32 major = gss_acquire_cred(&minor, GSS_C_NO_NAME, GSS_C_INDEFINITE, &mechanisms,
                                           GSS_C_ACCEPT, &state_->credentials, nullptr, nullptr);
  EXPECT_EQ(major, static_cast<OM_uint32>(GSS_S_COMPLETE)) << "gss-ntlmssp is missing";
}

NtlmAcceptor::~NtlmAcceptor() {
  OM_uint32 minor = 0;
  gss_delete_sec_context(&minor, &state_->context, GSS_C_NO_BUFFER);
  gss_release_cred(&minor, &state_->credentials);
}

NtlmAcceptor::Result NtlmAcceptor::Accept(std::string_view token, std::string& answer) {
  gss_buffer_desc in = {token.size(), const_cast<char*>(token.data())};
  gss_buffer_desc out = GSS_C_EMPTY_BUFFER;
  gss_name_t source = GSS_C_NO_NAME;
  OM_uint32 minor = 0;
  const OM_uint32 major = gss_accept_sec_context(&minor, &state_->context, state_->credentials, &in,
                                                 GSS_C_NO_CHANNEL_BINDINGS, &source, nullptr, &out,
                                                 nullptr, nullptr, nullptr);
  answer.assign(static_cast<const char*>(out.value), out.length);
  gss_release_buffer(&minor, &out);
  if (source != GSS_C_NO_NAME) {
    gss_buffer_desc text = GSS_C_EMPTY_BUFFER;
    gss_display_name(&minor, source, &text, nullptr);
    name_ = UntilNul({static_cast<const char*>(text.value), text.length});
    gss_release_buffer(&minor, &text);
    gss_release_name(&minor, &source);
  }
  if (GSS_ERROR(major)) return Result::kRefused;
  return (major & GSS_S_CONTINUE_NEEDED) != 0 ? Result::kGoesOn : Result::kAccepted;
}

NtlmProof ReadNtlmProof(std::string_view token) {
  return {Number(token, 20, 2), Text(token, 28), Text(token, 36)};
}

}  // namespace quillet::port
