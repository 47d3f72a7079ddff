#include "format/zip/zip.EncryptionHeader.h"

#include "algorithm/rng.TimerRandomSource.h"
#include "format/format.Exception.h"
#include "format/zip/zip.Strings.h"
#include "un/un.assert.h"

namespace format::zip {

EncryptionHeader::EncryptionHeader(algorithm::zipcrypt::Cipher& cipher) : cipher_(&cipher) {
    un_assert(size() == 12);
}

bool EncryptionHeader::valid() const { return !expect.isSet() || bytes_[11] == expect(); }

void EncryptionHeader::read(stream::Input& input, bool check) {
    algorithm::zipcrypt::Input in(input, *cipher_);
    const std::string text = readString(in, fixed_size);
    for (uint32_t i = 0; i < fixed_size; ++i) bytes_[i] = i < text.size() ? text[i] : '\0';
    if (check && !valid()) throw Exception("bad password in format::zip::EncryptionHeader::read()");
}

void EncryptionHeader::write(stream::Output& output) const {
    if (!expect.isSet()) throw Exception("must have an expect value in format::zip::EncryptionHeader::write()");
    algorithm::rng::TimerRandomSource random;
    random.fill(bytes_, fixed_size - 1);
    bytes_[fixed_size - 1] = expect();
    algorithm::zipcrypt::Output out(output, *cipher_);
    out.write(bytes_, fixed_size);
}

} // namespace format::zip
