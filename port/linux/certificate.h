// SPDX-License-Identifier: GPL-3.0-or-later
// Certificates as the line has them (DER).
#pragma once

#include <optional>
#include <string_view>

#include "port/linux/certificate_text.h"

namespace quillet::port {

// Nothing when it is no certificate, whole and without anything behind it.
std::optional<CertificateFacts> ReadCertificate(std::string_view der);

// What a result of the library's check (X509_V_ERR_...) means.
CertificateFault FaultOf(int verify_error);

}  // namespace quillet::port
