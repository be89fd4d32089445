// Random numbers from the IBAA generator (256-word state, rotation by 19
// bits). Not for cryptography: the seed is at most 32 bits.
//
// Results are produced 256 at a time by one ibaa() round and handed out from
// the last to the first; the drawing operations are const because drawing
// does not change the generator's observable identity, only its position.
//
// Failure policy: nothing here fails, allocates or throws.
//
//   KivClRandomNumberGenerator dice(42);   // the same seed, the same sequence
//   dice.getRandomNumber(6);               // 5, then 4 (0 .. 6 inclusive)
//   KivClRandomNumberGenerator seeded;      // seeded from the time of day
//   seeded.getRandomNumber();               // any 32-bit value
#ifndef KIV_RANDOM_HPP
#define KIV_RANDOM_HPP

#include <cstdint>

// The IBAA generator with its state; not safe for concurrent drawing.
class KivClRandomNumberGenerator {
public:
    static constexpr unsigned STATE_WORDS = 256;

    // Seeds with the microseconds part of the current time of day.
    KivClRandomNumberGenerator();
    // Seeds with seed (for reproducible sequences).
    explicit KivClRandomNumberGenerator(uint32_t seed);

    // Restarts the sequence from seed. The seed's lowest bit is forced on,
    // so seeds 2n and 2n + 1 give the same sequence.
    void init(uint32_t seed);
    // Runs one round, replacing all 256 pending results.
    void ibaa();

    // The next 32-bit result.
    uint32_t getRandomNumber() const;
    // The next result scaled to 0 .. max: result / 4294967295 * max in
    // extended precision, truncated, so max itself comes only from the
    // result 4294967295. getRandomNumber(0) is 0.
    uint32_t getRandomNumber(uint32_t max) const;

private:
    void round() const;

    mutable uint32_t m_[STATE_WORDS];
    mutable uint32_t r_[STATE_WORDS];
    mutable uint32_t a_;
    mutable uint32_t b_;
    mutable uint32_t pending_;  // results of r_ not yet handed out
};

#endif  // KIV_RANDOM_HPP
