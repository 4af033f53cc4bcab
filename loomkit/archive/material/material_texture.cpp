// SPDX-License-Identifier: MIT
#include "loomkit/archive/material/material_texture.h"

#include <cassert>
#include <memory>
#include <new>

#include "loomkit/text/str_stream.h"

GMatzTexture::GMatzTexture(const std::string& textureName) : name(textureName) {}

GMatzTexture::GMatzTexture(const std::string& textureName, std::istream* content)
    : name(textureName), stream(content) {}

GMatzTexture::~GMatzTexture() {
  delete stream;
  ::operator delete(data);
}

GFileObject* GMatzTexture::copy() {
  assert(data == nullptr && "a texture that holds bytes cannot be copied");
  auto twin = std::make_unique<GMatzTexture>(name);
  twin->size = size;
  return twin.release();
}

const std::string& GMatzTexture::getName() const { return name; }

std::istream* GMatzTexture::getInStream(bool /*binary*/) {
  if (stream != nullptr) return stream;
  if (data == nullptr) return nullptr;
  return new GIStrStream(std::string(data, size), true);
}

std::ostream* GMatzTexture::getOutStream(bool /*binary*/) { return nullptr; }
bool GMatzTexture::exists() { return true; }
bool GMatzTexture::isReadable() { return true; }
bool GMatzTexture::isWritable() { return false; }
bool GMatzTexture::isExecutable() { return false; }
