// SPDX-License-Identifier: GPL-2.0-only OR Apache-2.0
//
// Notes who sends DNS queries, at the moment they are sent: the process of each call that sends to
// port 53 beside its socket, and then, with each packet that leaves such a socket, beside what the
// packet is found again by. Nobody is noted for a packet whose sender is not certain.
#include "QuerySenders.h"

#include <bpf/bpf_core_read.h>
#include <bpf/bpf_endian.h>
#include <bpf/bpf_helpers.h>
#include <bpf/bpf_tracing.h>
#include <linux/bpf.h>
#include <stdbool.h>

char tovi_license[] SEC("license") = "GPL";

// What is read of the kernel's own structures. Offsets are those of the running kernel.
#pragma clang attribute push(__attribute__((preserve_access_index)), apply_to = record)

struct kernfs_node {
  const char* name;
};
struct cgroup;
struct cgroup_subsys_state {
  struct cgroup* cgroup;
  struct cgroup_subsys_state* parent;
};
struct cgroup {
  struct cgroup_subsys_state self;
  struct kernfs_node* kn;
};
struct css_set {
  struct cgroup* dfl_cgrp;
};
struct ns_common {
  unsigned int inum;
};
struct net {
  struct ns_common ns;
};
struct nsproxy {
  struct net* net_ns;
};
typedef struct {
  unsigned int val;
} kuid_t;
struct cred {
  kuid_t euid;
};
struct task_struct {
  unsigned int flags;
  unsigned int tgid;
  struct task_struct* group_leader;
  struct task_struct* real_parent;
  const struct cred* cred;
  struct css_set* cgroups;
  struct nsproxy* nsproxy;
  char comm[TOVI_NAME_SIZE];
};
typedef struct {
  struct net* net;
} possible_net_t;
struct sock_common {
  __be16 skc_dport;
  unsigned short skc_family;
  possible_net_t skc_net;
};
typedef struct {
  int owned;
} socket_lock_t;
struct sock {
  struct sock_common __sk_common;
  socket_lock_t sk_lock;
};
struct socket {
  struct sock* sk;
};
struct msghdr {
  void* msg_name;
};
struct bpf_iter__task_file {
  struct task_struct* task;
  struct file* file;
};

#pragma clang attribute pop

enum {
  DNS_PORT = 53,
  AF_INET = 2,
  AF_INET6 = 10,
  IPPROTO_TCP = 6,
  IPPROTO_UDP = 17,
  KERNEL_THREAD = 0x00200000,
};

// Calls of different processes that send from one socket less than this apart may have their
// packets mixed up.
static const __u64 one_turn = 1000000000;
// For so long a packet may be on its way from here to where it is captured.
static const __u64 in_flight = 1000000;

// Who last called to send from a socket.
struct caller {
  struct tovi_sender sender;
  // When another process last did; 0 for never.
  __u64 stranger;
  // Not every call was seen: the sender of a packet has to be confirmed.
  __u32 unsure;
  // The number of the socket's network namespace.
  __u32 network;
};

struct {
  __uint(type, BPF_MAP_TYPE_SK_STORAGE);
  __uint(map_flags, BPF_F_NO_PREALLOC);
  __type(key, int);
  __type(value, struct caller);
} tovi_callers SEC(".maps");

struct {
  __uint(type, BPF_MAP_TYPE_LRU_HASH);
  __uint(max_entries, TOVI_SENDER_PLACES);
  __type(key, struct tovi_query);
  __type(value, struct tovi_sender);
} tovi_senders SEC(".maps");

struct {
  __uint(type, BPF_MAP_TYPE_ARRAY);
  __uint(max_entries, 1);
  __type(key, __u32);
  __type(value, struct tovi_counts);
} tovi_counts SEC(".maps");

static void describe(struct tovi_sender* sender, struct task_struct* task) {
  struct task_struct* leader = BPF_CORE_READ(task, group_leader);
  struct task_struct* parent = BPF_CORE_READ(leader, real_parent, group_leader);
  struct cgroup* group = BPF_CORE_READ(task, cgroups, dfl_cgrp);
  struct cgroup* outer = BPF_CORE_READ(group, self.parent, cgroup);
  sender->process = BPF_CORE_READ(task, tgid);
  sender->user = BPF_CORE_READ(task, cred, euid.val);
  sender->parent = BPF_CORE_READ(parent, tgid);
  BPF_CORE_READ_STR_INTO(&sender->name, leader, comm);
  BPF_CORE_READ_STR_INTO(&sender->parent_name, parent, comm);
  sender->group[0] = sender->outer_group[0] = 0;
  bpf_probe_read_kernel_str(sender->group, TOVI_GROUP_SIZE, BPF_CORE_READ(group, kn, name));
  if (outer)
    bpf_probe_read_kernel_str(sender->outer_group, TOVI_GROUP_SIZE, BPF_CORE_READ(outer, kn, name));
}

static __u32 current_network(void) {
  return BPF_CORE_READ(bpf_get_current_task_btf(), nsproxy, net_ns, ns.inum);
}

static __u32 network_of(struct sock* sk) {
  return BPF_CORE_READ(sk, __sk_common.skc_net.net, ns.inum);
}

static bool is_dns(struct sock* sk) {
  __u16 family = BPF_CORE_READ(sk, __sk_common.skc_family);
  return (family == AF_INET || family == AF_INET6) &&
         BPF_CORE_READ(sk, __sk_common.skc_dport) == bpf_htons(DNS_PORT);
}

static void note_caller(void* socket, __u32 network, bool unsure) {
  struct task_struct* task = bpf_get_current_task_btf();
  struct caller* caller;

  if (BPF_CORE_READ(task, flags) & KERNEL_THREAD) return;
  caller = bpf_sk_storage_get(&tovi_callers, socket, 0, BPF_SK_STORAGE_GET_F_CREATE);
  if (!caller) return;
  if (caller->sender.process && caller->sender.process != BPF_CORE_READ(task, tgid))
    caller->stranger = caller->sender.last;
  caller->unsure = unsure;
  caller->network = network;
  caller->sender.last = bpf_ktime_get_ns();
  describe(&caller->sender, task);
}

// Each call that sends, by whichever process and thread.

static int on_send(struct sock* sk, struct msghdr* msg) {
  __be16 port = sk->__sk_common.skc_dport;
  void* to = msg->msg_name;

  // The port stands in the same place in the addresses of both families.
  if (to) bpf_probe_read_kernel(&port, sizeof port, to + 2);
  if (port == bpf_htons(DNS_PORT)) note_caller(sk, network_of(sk), false);
  return 0;
}

SEC("fentry/udp_sendmsg")
int BPF_PROG(tovi_udp, struct sock* sk, struct msghdr* msg) {
  return on_send(sk, msg);
}

SEC("fentry/udpv6_sendmsg")
int BPF_PROG(tovi_udp6, struct sock* sk, struct msghdr* msg) {
  return on_send(sk, msg);
}

SEC("fentry/tcp_sendmsg")
int BPF_PROG(tovi_tcp, struct sock* sk, struct msghdr* msg) {
  return on_send(sk, msg);
}

// Where functions of the kernel cannot be watched: each call that names the address to send to.
// What a process sends afterwards from a socket that is connected is not seen.

static int on_address(struct bpf_sock_addr* address) {
  struct bpf_sock* socket;

  if (address->user_port != bpf_htons(DNS_PORT)) return 1;
  socket = address->sk;
  if (socket) note_caller(socket, current_network(), true);
  return 1;
}

SEC("cgroup/connect4")
int tovi_connect4(struct bpf_sock_addr* address) {
  return on_address(address);
}

SEC("cgroup/connect6")
int tovi_connect6(struct bpf_sock_addr* address) {
  return on_address(address);
}

SEC("cgroup/sendmsg4")
int tovi_sendmsg4(struct bpf_sock_addr* address) {
  return on_address(address);
}

SEC("cgroup/sendmsg6")
int tovi_sendmsg6(struct bpf_sock_addr* address) {
  return on_address(address);
}

// Once: the sockets that were connected before.

SEC("iter/task_file")
int tovi_sockets(struct bpf_iter__task_file* context) {
  struct task_struct* task = context->task;
  struct file* file = context->file;
  struct caller* caller;
  struct socket* socket;
  struct sock* sk;

  if (!task || !file) return 0;
  socket = bpf_sock_from_file(file);
  sk = socket ? socket->sk : 0;
  if (!sk || !is_dns(sk)) return 0;
  caller = bpf_sk_storage_get(&tovi_callers, sk, 0, BPF_SK_STORAGE_GET_F_CREATE);
  // Whoever is above the others that have it by inheritance comes first, unless identifiers ran
  // out.
  if (!caller || caller->sender.process) return 0;
  caller->unsure = true;
  caller->network = network_of(sk);
  describe(&caller->sender, task);
  return 0;
}

// Each packet that leaves a socket of this machine.

struct packet {
  struct tovi_query query;
  // Where the header of UDP or TCP begins.
  __u32 transport;
  bool is_loopback;
};

static bool read_ipv4(struct __sk_buff* skb, struct packet* packet) {
  struct {
    __u8 version_length, service;
    __be16 length, number, fragment;
    __u8 hops, protocol;
    __be16 sum;
    __u8 source[4], destination[4];
  } header;

  if (bpf_skb_load_bytes(skb, 0, &header, sizeof header)) return false;
  // Not the first fragment.
  if (header.fragment & bpf_htons(0x1fff)) return false;
  packet->query.source[10] = packet->query.source[11] = 0xff;
  packet->query.destination[10] = packet->query.destination[11] = 0xff;
  __builtin_memcpy(packet->query.source + 12, header.source, 4);
  __builtin_memcpy(packet->query.destination + 12, header.destination, 4);
  packet->query.protocol = header.protocol;
  packet->transport = (header.version_length & 15) * 4;
  packet->is_loopback = header.source[0] == 127;
  return true;
}

static bool read_ipv6(struct __sk_buff* skb, struct packet* packet) {
  struct {
    __be32 version_flow;
    __be16 length;
    __u8 protocol, hops;
    __u8 source[16], destination[16];
  } header;
  const __be32* words = (const __be32*)header.source;

  if (bpf_skb_load_bytes(skb, 0, &header, sizeof header)) return false;
  __builtin_memcpy(packet->query.source, header.source, 16);
  __builtin_memcpy(packet->query.destination, header.destination, 16);
  packet->query.protocol = header.protocol;
  packet->transport = sizeof header;
  packet->is_loopback = words[0] == 0 && words[1] == 0 && words[2] == 0 && words[3] == bpf_htonl(1);
  return true;
}

// True for a packet to port 53 that has data, a part of the DNS message at least.
static bool read_packet(struct __sk_buff* skb, struct packet* packet, __u32* payload) {
  __be16 ports[2];
  __u8 words = 2;

  if (skb->protocol == bpf_htons(0x0800)) {
    if (!read_ipv4(skb, packet)) return false;
  } else if (skb->protocol != bpf_htons(0x86dd) || !read_ipv6(skb, packet)) {
    return false;
  }
  if (packet->query.protocol != IPPROTO_UDP && packet->query.protocol != IPPROTO_TCP) return false;
  if (bpf_skb_load_bytes(skb, packet->transport, ports, sizeof ports)) return false;
  if (ports[1] != bpf_htons(DNS_PORT)) return false;
  if (packet->query.protocol == IPPROTO_TCP) {
    if (bpf_skb_load_bytes(skb, packet->transport + 12, &words, 1)) return false;
    words >>= 4;
  }
  packet->query.source_port = bpf_ntohs(ports[0]);
  *payload = packet->transport + words * 4;
  return skb->len > *payload;
}

static void enter(const struct tovi_query* query, struct tovi_sender* sender) {
  struct tovi_sender* old = bpf_map_lookup_elem(&tovi_senders, query);
  struct tovi_counts* counts;
  __u32 first = 0;

  sender->since = sender->last;
  if (old && old->process == sender->process) {
    sender->since = old->since;
  } else if (old && sender->last - old->last < in_flight) {
    sender->since += in_flight;
  }
  bpf_map_update_elem(&tovi_senders, query, sender, BPF_ANY);
  if (old) return;
  counts = bpf_map_lookup_elem(&tovi_counts, &first);
  if (counts) __sync_fetch_and_add(&counts->noted, 1);
}

// True when the caller is this process or one above it, whose socket it has by inheritance.
static bool is_or_descends(struct task_struct* task, const struct caller* caller) {
  for (int generation = 0; generation < 16; ++generation) {
    if (BPF_CORE_READ(task, tgid) == caller->sender.process) return true;
    if (!caller->unsure || BPF_CORE_READ(task, tgid) <= 1) return false;
    task = BPF_CORE_READ(task, group_leader, real_parent);
  }
  return false;
}

// True when a process that sends or otherwise handles the socket runs now. UDP sends at once. What
// TCP holds back leaves while just anybody runs, but not while a process has the socket to itself.
static bool is_handled(struct bpf_sock* socket) {
  struct tcp_sock* tcp;

  if (socket->protocol != IPPROTO_TCP) return true;
  tcp = bpf_skc_to_tcp_sock(socket);
  return tcp && BPF_CORE_READ((struct sock*)tcp, sk_lock.owned);
}

// Fills in the sender of a packet that leaves this socket now, if that is certain. Who runs now
// must go together with who called: a queue of netfilter sends on for others, too.
static void find_sender(const struct caller* caller, struct bpf_sock* socket,
                        struct tovi_sender* sender) {
  struct task_struct* task = bpf_get_current_task_btf();
  __u64 now = bpf_ktime_get_ns();

  if (!caller || !caller->sender.process) return;
  if (is_handled(socket) && is_or_descends(task, caller)) {
    describe(sender, task);
  } else if (!caller->unsure && now - caller->stranger > one_turn) {
    __builtin_memcpy(sender, &caller->sender, sizeof *sender);
  }
  sender->last = now;
}

static void note_message(const struct tovi_query* query, struct tovi_sender* sender) {
  if (sender->process)
    enter(query, sender);
  else
    bpf_map_delete_elem(&tovi_senders, query);
}

// What TCP held back was written by the process that sent before, of which the entry tells already.
static bool is_held_back(const struct tovi_query* query, const struct caller* caller,
                         const struct tovi_sender* sender) {
  struct tovi_sender* old = bpf_map_lookup_elem(&tovi_senders, query);

  return !sender->process && caller && caller->unsure && old && old->socket == sender->socket;
}

static void note_packet(struct __sk_buff* skb, struct bpf_sock* socket, struct packet* packet,
                        __u32 payload) {
  struct tovi_sender sender = {};
  struct caller* caller = 0;
  __be16 identifier;

  // What is written to a raw socket may claim any port.
  if (socket->protocol == packet->query.protocol)
    caller = bpf_sk_storage_get(&tovi_callers, socket, 0, 0);
  if (packet->is_loopback) packet->query.network = caller ? caller->network : current_network();
  find_sender(caller, socket, &sender);
  sender.socket = bpf_get_socket_cookie(skb);
  if (packet->query.protocol == IPPROTO_TCP) {
    packet->query.of_connection = 1;
    if (!is_held_back(&packet->query, caller, &sender)) note_message(&packet->query, &sender);
    packet->query.of_connection = 0;
    // A message stands behind its length (RFC 1035, section 4.2.2). Of a segment that begins with
    // something else this makes an entry that nobody asks for.
    payload += 2;
  }
  if (bpf_skb_load_bytes(skb, payload, &identifier, sizeof identifier)) return;
  packet->query.identifier = bpf_ntohs(identifier);
  note_message(&packet->query, &sender);
}

// Lets most packets off before anything of them is copied: true when the port stands where it
// mostly does, and is another.
static bool is_surely_not_dns(struct __sk_buff* skb) {
  __u8* data = (void*)(long)skb->data;
  __u8* end = (void*)(long)skb->data_end;
  const __u32 port4 = 20 + 2, port6 = 40 + 2;

  if (data + port4 + 2 <= end && data[0] == 0x45)
    return *(__be16*)(data + port4) != bpf_htons(DNS_PORT);
  if (data + port6 + 2 <= end && data[0] >> 4 == 6 &&
      (data[6] == IPPROTO_UDP || data[6] == IPPROTO_TCP))
    return *(__be16*)(data + port6) != bpf_htons(DNS_PORT);
  return false;
}

static void note(struct __sk_buff* skb, struct bpf_sock* socket) {
  struct packet packet = {};
  __u32 payload;

  if (read_packet(skb, &packet, &payload)) note_packet(skb, socket, &packet, payload);
}

SEC("cgroup_skb/egress")
int tovi_egress(struct __sk_buff* skb) {
  struct bpf_sock* socket;

  if (is_surely_not_dns(skb)) return 1;
  socket = skb->sk;
  if (socket) socket = bpf_sk_fullsock(socket);
  if (socket) note(skb, socket);
  return 1;
}
