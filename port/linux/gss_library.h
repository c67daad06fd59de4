// SPDX-License-Identifier: GPL-3.0-or-later
// The calls of GSSAPI that a login needs, from a library bound at run time.
#pragma once

#include <gssapi/gssapi.h>
#include <gssapi/gssapi_ext.h>

#include <memory>
#include <string>
#include <string_view>

#include "port/security.h"

namespace quillet::port {

class GssLibrary {
 public:
  // Null when there is no such library, or it lacks a call.
  static std::unique_ptr<GssLibrary> Load(const std::string& name);

  decltype(&gss_import_name) import_name = nullptr;
  decltype(&gss_release_name) release_name = nullptr;
  decltype(&gss_acquire_cred_with_password) acquire_cred_with_password = nullptr;
  decltype(&gss_release_cred) release_cred = nullptr;
  decltype(&gss_init_sec_context) init_sec_context = nullptr;
  decltype(&gss_delete_sec_context) delete_sec_context = nullptr;
  decltype(&gss_release_buffer) release_buffer = nullptr;
  gss_OID user_name = nullptr;
  gss_OID hostbased_service = nullptr;
};

// 1.3.6.1.4.1.311.2.2.10
gss_OID NtlmMechanism();

// A text as the library takes it; valid as long as the text is.
gss_buffer_desc GssBuffer(std::string_view text);

// What a major status means for the other side of the port.
SecurityResult SecurityResultOf(OM_uint32 major);

// Whether the system's list of mechanisms has the one for NTLM. Loads nothing.
bool NtlmIsInstalled();

}  // namespace quillet::port
