// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_base.h"

#include <zlib.h>

#include "loomkit/archive/zip/zip_errors.h"
#include "loomkit/text/output.h"

namespace {

// The state of the reflected CRC-32 after one more byte.
unsigned int crcStep(unsigned int crc, unsigned int byte) {
  static const z_crc_t* const table = get_crc_table();
  return static_cast<unsigned int>(table[(crc ^ byte) & 255]) ^ (crc >> 8);
}

// The byte that the cipher combines with the next one by exclusive or.
unsigned int maskOf(unsigned int key2) {
  const unsigned int t = key2 | 2;
  return ((t * (t ^ 1)) >> 8) & 255;
}

}  // namespace

GZipBase::GZipBase() = default;
GZipBase::GZipBase(const std::string& archivePath) : path(archivePath) {}
GZipBase::GZipBase(const GZipBase&) = default;
GZipBase& GZipBase::operator=(const GZipBase&) = default;
GZipBase::~GZipBase() = default;

bool GZipBase::error(const char* text) {
  if (errorFlag) return false;
  errorFlag = true;
  gOutput->error(gDataSysName, (path.empty() ? text : path + ": " + text).c_str());
  return false;
}

bool GZipBase::error(GOStrStream& text) { return error(text.str().c_str()); }

bool GZipBase::error(const char* text, unsigned int code) {
  return error(loomkit::zip::withReason(text, static_cast<int>(code)).c_str());
}

// Other than error(), this does not leave an empty path out: who reads logs relies
// on warnings having always looked so.
void GZipBase::warning(const char* text) {
  gOutput->warning(gDataSysName, (path + ": " + text).c_str());
}

void GZipBase::warning(GOStrStream& text) { warning(text.str().c_str()); }

void GZipBase::initKeys() {
  key0 = 0x12345678;
  key1 = 0x23456789;
  key2 = 0x34567890;
  for (const char* c = password.c_str(); *c != '\0'; ++c) {
    updateKeys(static_cast<unsigned char>(*c));
  }
}

void GZipBase::updateKeys(unsigned char plain) {
  key0 = crcStep(key0, plain);
  key1 = (key1 + (key0 & 255)) * 134775813U + 1;
  key2 = crcStep(key2, key1 >> 24);
}

unsigned char GZipBase::decrypt(unsigned char c) {
  const auto plain = static_cast<unsigned char>(c ^ maskOf(key2));
  updateKeys(plain);
  return plain;
}

unsigned char GZipBase::encrypt(unsigned char c) {
  const unsigned int mask = maskOf(key2);
  updateKeys(c);
  return static_cast<unsigned char>(c ^ mask);
}
