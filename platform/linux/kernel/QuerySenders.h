/* SPDX-License-Identifier: GPL-2.0-only OR Apache-2.0
 *
 * What the programs in the kernel note of who sent a DNS query, and the daemon reads. C, so that
 * both can include it. All numbers are in the machine's own byte order. */
#pragma once

#include <linux/types.h>

#define TOVI_SENDERS_MAP "tovi_senders"
#define TOVI_COUNTS_MAP "tovi_counts"

enum {
  TOVI_NAME_SIZE = 16,
  TOVI_GROUP_SIZE = 96,
  TOVI_SENDER_PLACES = 8192,
};

/* What a packet that was sent to port 53 is found again by. */
struct tovi_query {
  /* IPv4 addresses in their IPv6-mapped form (RFC 4291, section 2.5.5.2). */
  __u8 source[16];
  __u8 destination[16];
  /* Loopback addresses are told apart by the number of their network namespace, since each has all
   * of them and their packets never leave it; 0 for other addresses. */
  __u32 network;
  __u16 source_port;
  /* Of the DNS message; 0 when of_connection. */
  __u16 identifier;
  /* IPPROTO_UDP or IPPROTO_TCP. */
  __u8 protocol;
  /* 1 in the entry for all of a TCP connection, which is rewritten with each of its segments that
   * has data: its messages can begin anywhere in a segment. */
  __u8 of_connection;
  __u16 unused;
};

/* Times are those of CLOCK_MONOTONIC in nanoseconds. A text that fills its array has no NUL. */
struct tovi_sender {
  /* A packet that was captured since then is this sender's. */
  __u64 since;
  /* When this sender last sent such a packet. */
  __u64 last;
  /* The socket's cookie. */
  __u64 socket;
  /* Identifiers of the first PID namespace and user namespace; the user is the effective one. */
  __u32 process;
  __u32 parent;
  __u32 user;
  __u32 unused;
  /* Of the processes, not of their threads. */
  char name[TOVI_NAME_SIZE];
  char parent_name[TOVI_NAME_SIZE];
  /* The last parts of the path of the control group (v2), and of the one above it. */
  char group[TOVI_GROUP_SIZE];
  char outer_group[TOVI_GROUP_SIZE];
};

/* The one element of the map of counts. */
struct tovi_counts {
  /* Entries that were made; not those that were rewritten. */
  __u64 noted;
};
