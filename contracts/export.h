/** @file
 * Marks the functions of a contract, so that a library built with hidden symbols still has them. On
 * Windows the libraries' export lists decide. */
#ifndef VANTEL_CONTRACTS_EXPORT_H
#define VANTEL_CONTRACTS_EXPORT_H

/** Marks the functions of a contract. */
#if defined(_WIN32)
#define CONTRACT_API
#else
#define CONTRACT_API __attribute__((visibility("default")))
#endif

#endif
