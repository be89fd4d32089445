// IBAA random number generator.
#include "kiv_random.hpp"

#include <sys/time.h>

namespace {

uint32_t rotateLeft(uint32_t value, unsigned bits) { return (value << bits) | (value >> (32 - bits)); }

uint32_t currentMicroseconds() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return static_cast<uint32_t>(now.tv_usec);
}

}  // namespace

KivClRandomNumberGenerator::KivClRandomNumberGenerator() { init(currentMicroseconds()); }

KivClRandomNumberGenerator::KivClRandomNumberGenerator(uint32_t seed) { init(seed); }

// Fills the memory from the Park-Miller minimal standard recurrence
// (Schrage's form, left uncorrected when it wraps) and runs one round.
void KivClRandomNumberGenerator::init(uint32_t seed) {
    uint32_t s = seed | 1u;
    for (uint32_t& word : m_) {
        const uint32_t q = s / 127773u;
        s = 16807u * (s - 127773u * q) - 2836u * q;
        word = s;
    }
    for (uint32_t& result : r_) result = 0;
    a_ = 0;
    b_ = 0;
    round();
}

void KivClRandomNumberGenerator::ibaa() { round(); }

void KivClRandomNumberGenerator::round() const {
    uint32_t a = a_;
    uint32_t b = b_;
    for (unsigned i = 0; i < STATE_WORDS; ++i) {
        const uint32_t x = m_[i];
        a = rotateLeft(a, 19) + m_[(i + 128) % STATE_WORDS];
        const uint32_t y = m_[x % STATE_WORDS] + a + b;
        m_[i] = y;
        b = m_[(y >> 8) % STATE_WORDS] + x;
        r_[i] = b;
    }
    a_ = a;
    b_ = b;
    pending_ = STATE_WORDS;
}

uint32_t KivClRandomNumberGenerator::getRandomNumber() const {
    if (pending_ == 0) round();
    return r_[--pending_];
}

uint32_t KivClRandomNumberGenerator::getRandomNumber(uint32_t max) const {
    const long double fraction = static_cast<long double>(getRandomNumber()) / 4294967295.0L;
    return static_cast<uint32_t>(fraction * max);
}
