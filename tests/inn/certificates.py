# SPDX-License-Identifier: GPL-3.0-or-later
"""Certificates of a test's own authority, made with the openssl program."""

import os
import subprocess
import time


class Identity:
    """A certificate with its key, as PEM files."""

    def __init__(self, certificate, key):
        self.certificate = certificate
        self.key = key

    def fingerprint(self):
        done = subprocess.run(["openssl", "x509", "-in", self.certificate, "-noout", "-fingerprint",
                               "-sha256"], check=True, capture_output=True, text=True)
        return done.stdout.strip().rpartition("=")[2]


class Authority:
    """Signs for hosts. `file` is what a client that trusts it has to know."""

    def __init__(self, folder):
        self.folder = folder
        self.identity = self._self_signed("authority", "/CN=Test Authority",
                                          "basicConstraints=critical,CA:TRUE",
                                          "keyUsage=critical,keyCertSign,cRLSign")
        self.file = self.identity.certificate

    def _path(self, name):
        return os.path.join(self.folder, name)

    def _self_signed(self, name, subject, *extensions):
        own = Identity(self._path(name + ".pem"), self._path(name + ".key"))
        self._openssl("req", "-x509", *self._new_key(own.key), "-subj", subject, "-days", "30",
                      "-out", own.certificate,
                      *[word for one in extensions for word in ("-addext", one)])
        return own

    @staticmethod
    def _new_key(file):
        return ("-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-keyout",
                file)

    @staticmethod
    def _openssl(*arguments):
        subprocess.run(["openssl", *arguments], check=True, capture_output=True)

    def self_signed(self, name, host):
        return self._self_signed(name, "/CN=" + host, "subjectAltName=DNS:" + host)

    def sign(self, name, host, days=30):
        """With 0 days it has expired when this returns."""
        own = Identity(self._path(name + ".pem"), self._path(name + ".key"))
        request, extensions = self._path(name + ".csr"), self._path(name + ".ext")
        self._openssl("req", "-new", *self._new_key(own.key), "-subj", "/CN=" + host, "-out",
                      request)
        with open(extensions, "w", encoding="ascii") as file:
            file.write("subjectAltName=DNS:%s\nextendedKeyUsage=serverAuth\n" % host)
        self._openssl("x509", "-req", "-in", request, "-CA", self.file, "-CAkey",
                      self.identity.key, "-CAcreateserial", "-days", str(days), "-extfile",
                      extensions, "-out", own.certificate)
        if days == 0:
            time.sleep(1.1)  # the second that it was valid in
        return own
