#ifndef MERVANE_TESTS_SANITIZED_H
#define MERVANE_TESTS_SANITIZED_H

// MERVANE_SANITIZED is defined in AddressSanitizer and ThreadSanitizer
// builds (by the build itself, so that moc sees it too and a test slot can
// be left out; here again for a compiler that sets the sanitizer's macro). Address-space limits and peak resident sizes mean nothing there:
// the sanitizers reserve terabytes of shadow memory.
#if defined(MERVANE_SANITIZED)
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MERVANE_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define MERVANE_SANITIZED 1
#endif
#endif

#endif // MERVANE_TESTS_SANITIZED_H
