// Converts arbitrary bytes with converters that together use every
// conversion method (checked once at start).
// The first input byte picks the converter, the rest is the source; the
// target is a heap block of exactly the size the converter announces, so the
// address sanitizer catches any write past it, and the result must stay
// within it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "kiv_converter.hpp"

namespace {

void check(bool condition) {
    if (!condition) std::abort();
}

std::vector<std::unique_ptr<KivClConverterABase>> makeConverters() {
    std::vector<std::unique_ptr<KivClConverterABase>> all;
    for (unsigned int ccsid : {1208u, 13488u, 65500u, 37u, 437u, 930u, 301u, 936u, 9146u}) {
        all.emplace_back(new KivClCodePage2UnicodeConverter(KivClCCSID(ccsid)));
    }
    for (unsigned int ccsid : {819u, 500u, 850u, 1208u, 1386u, 61699u, 65500u, 13488u, 99999u}) {
        all.emplace_back(new KivClUnicode2CodePageConverter(KivClCCSID(ccsid)));
    }
    all.emplace_back(new KivClCodePage2UTF8Converter(KivClCCSID(930)));
    all.emplace_back(new KivClCodePage2CodePageConverter(KivClCCSID(1208), KivClCCSID(37)));
    // Every conversion method must be behind one of the converters.
    for (KivClConverterABase::KivPfnConversionMethod method :
         {kivConvertError, kivConvertByCopying, kivConvertByEndianSwap, kivConvertByTablesSBCS_ASCIItoUCS2,
          kivConvertByTablesSBCS_EBCDICtoUCS2, kivConvertByTablesDBCS_ASCIItoUCS2,
          kivConvertByTablesDBCS_EBCDICtoUCS2, kivConvertByTablesUCS2toSBCS, kivConvertByAlgorithmUCS2to819,
          kivConvertByAlgorithmUTF8toUCS2, kivConvertByAlgorithmUCS2toUTF8, kivConvertByUsingIconv,
          kivConvertByAlgorithmIcuToUnicode, kivConvertByAlgorithmIcuFromUnicode}) {
        bool used = false;
        for (const auto& converter : all) used = used || converter->getMethod() == method;
        check(used);
    }
    return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::vector<std::unique_ptr<KivClConverterABase>> converters = makeConverters();
    if (size == 0) return 0;
    const KivClConverterABase& converter = *converters[data[0] % converters.size()];
    const unsigned int sourceSize = static_cast<unsigned int>(size - 1);
    std::unique_ptr<char[]> source(new char[sourceSize]);
    for (unsigned int i = 0; i < sourceSize; ++i) source[i] = static_cast<char>(data[i + 1]);
    const unsigned int targetSize = converter.getMaximumSizeForSize(sourceSize);
    std::unique_ptr<char[]> target(new char[targetSize]);
    const char* position = source.get();
    const unsigned int written = converter.convertBytes(target.get(), targetSize, &position, sourceSize);
    check(written <= targetSize);
    check(position >= source.get() && position <= source.get() + sourceSize);
    return 0;
}
