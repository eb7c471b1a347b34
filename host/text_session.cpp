#include "host/text_session.h"

#include <cstring>
#include <mutex>

#include "host/host.h"
#include "host/text_work.h"

namespace rq::host {
namespace {

using Measure = TextWork::Measure;

/// The kernel that the library keeps, and the services behind every session. Never destroyed: the library may call
/// the registered kernel as long as the process lives.
Host& processHost() {
  static Host& host = *new Host;
  return host;
}

RQForm formOf(Form form) {
  switch (form) {
    case Form::utf8:
      return RQ_FORM_UTF8;
    case Form::utf16Big:
      return RQ_FORM_UTF16_BIG;
    case Form::utf16Little:
      return RQ_FORM_UTF16_LITTLE;
    case Form::utf32Big:
      return RQ_FORM_UTF32_BIG;
    case Form::utf32Little:
      break;
  }
  return RQ_FORM_UTF32_LITTLE;
}

template <class C>
Bytes bytesOf(std::basic_string_view<C> text) {
  return std::as_bytes(std::span(text));
}

/// The bytes as a string. Bytes of characters are whole characters.
template <class String>
Result<String> stringOf(const Result<Bytes>& bytes) {
  if (!bytes) return bytes.error();
  String string(bytes->size() / sizeof(typename String::value_type), 0);
  if (!bytes->empty()) std::memcpy(string.data(), bytes->data(), bytes->size());
  return string;
}

}  // namespace

struct TextSession::Objects {
  Library library;  // outlives what it made
  const Encoding& encoding;
  Session bytes, characters;
  bool carriesNotations;

  TextWork ofBytes() const { return {bytes.object(), bytes->plain, encoding, false}; }
  TextWork ofCharacters() const {
    return {characters.object(), characters->wide, encodingOf(RQ_FORM_UTF32_NATIVE), true};
  }
};

Result<TextSession> TextSession::open(std::string_view encoding, const std::string& library) {
  const auto found = findEncoding(encoding);
  if (!found) return found.error();
  if (!codecOf((*found)->identifier)) {
    return Error{Error::Kind::system, "cannot open the encoding " + (*found)->name};
  }
  auto loaded = Library::open(library);
  if (!loaded) return loaded.error();
  static std::mutex registering;
  const std::lock_guard lock(registering);
  auto bytes = Session::open(*loaded, processHost(), (*found)->identifier);
  if (!bytes) return bytes.error();
  auto characters = Session::open(*loaded, processHost(), RQ_ENCODING_UTF32_LITTLE);
  if (!characters) return characters.error();
  return TextSession(
      std::unique_ptr<Objects>(new Objects{std::move(*loaded), **found, std::move(*bytes), std::move(*characters),
                                           host::carriesNotations(*codecOf((*found)->identifier))}));
}

TextSession::TextSession(std::unique_ptr<Objects> objects) : objects_(std::move(objects)) {}
TextSession::~TextSession() = default;
TextSession::TextSession(TextSession&& other) noexcept = default;
TextSession& TextSession::operator=(TextSession&& other) noexcept = default;

const std::string& TextSession::encoding() const {
  return objects_->encoding.name;
}

Result<std::string> TextSession::decode(Notation notation, std::string_view text) const {
  if (!objects_->carriesNotations) return noNotations(objects_->encoding);
  return stringOf<std::string>(objects_->ofBytes().decode(notation, bytesOf(text)));
}

Result<std::u32string> TextSession::decode(Notation notation, std::u32string_view text) const {
  return stringOf<std::u32string>(objects_->ofCharacters().decode(notation, bytesOf(text)));
}

Result<std::string> TextSession::encode(Notation notation, std::string_view text) const {
  if (!objects_->carriesNotations) return noNotations(objects_->encoding);
  return stringOf<std::string>(objects_->ofBytes().encode(notation, bytesOf(text)));
}

Result<std::u32string> TextSession::encode(Notation notation, std::u32string_view text) const {
  return stringOf<std::u32string>(objects_->ofCharacters().encode(notation, bytesOf(text)));
}

Result<std::string> TextSession::fromForm(Form form, std::string_view bytes) const {
  return stringOf<std::string>(objects_->ofBytes().fromForm(formOf(form), bytesOf(bytes)));
}

Result<std::u32string> TextSession::charactersFromForm(Form form, std::string_view bytes) const {
  return stringOf<std::u32string>(objects_->ofCharacters().fromForm(formOf(form), bytesOf(bytes)));
}

Result<std::string> TextSession::toForm(Form form, std::string_view text) const {
  return stringOf<std::string>(objects_->ofBytes().toForm(formOf(form), bytesOf(text)));
}

Result<std::string> TextSession::toForm(Form form, std::u32string_view text) const {
  return stringOf<std::string>(objects_->ofCharacters().toForm(formOf(form), bytesOf(text)));
}

Result<std::int64_t> TextSession::length(std::string_view text) const {
  return objects_->ofBytes().measure(Measure::length, bytesOf(text));
}

Result<std::int64_t> TextSession::length(std::u32string_view text) const {
  return objects_->ofCharacters().measure(Measure::length, bytesOf(text));
}

Result<std::int64_t> TextSession::width(std::string_view text) const {
  return objects_->ofBytes().measure(Measure::width, bytesOf(text));
}

Result<std::int64_t> TextSession::width(std::u32string_view text) const {
  return objects_->ofCharacters().measure(Measure::width, bytesOf(text));
}

}  // namespace rq::host
