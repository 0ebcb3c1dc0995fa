"""The rules of the formats in which events can be written, as far as our events reach.

ECS: field types, lists and expected values of Elastic Common Schema 9.4.0. OCSF: attributes, types,
requirements, constraints and enumerations of the class DNS Activity with the host profile.
"""

import jsonschema

TEXT = {"type": "string", "pattern": "^[ -~]*$"}
UNICODE = {"type": "string"}
INTEGER = {"type": "integer"}
PORT = {"type": "integer", "minimum": 0, "maximum": 65535}
LONG = {"type": "integer", "minimum": -(2**63), "maximum": 2**63 - 1}
ADDRESS = {"anyOf": [{"type": "string", "format": form} for form in ("ipv4", "ipv6")]}
TIME = {"type": "string", "pattern": r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$"}


def one_of(*values):
    return {"enum": list(values)}


def many(of):
    return {"type": "array", "items": of}


def record(members, required=(), at_least_one=()):
    schema = {"type": "object", "properties": members, "additionalProperties": False}
    schema["required"] = list(required)
    if at_least_one:
        schema["anyOf"] = [{"required": [name]} for name in at_least_one]
    return schema


def named(id_member, name_member, values):
    """The number is one of the values, and the name beside it is that value's."""
    pairs = [
        {"properties": {id_member: {"const": number}, name_member: {"const": name}}}
        for number, name in values.items()
    ]
    return {"anyOf": [{"not": {"required": [id_member]}}] + pairs,
            "dependentRequired": {name_member: [id_member]}}


USER_ENTRY = record({"name": UNICODE, "full_name": UNICODE, "sessions": many(UNICODE)})

ECS = record(
    {
        "@timestamp": TIME,
        "ecs": record({"version": one_of("9.4.0")}, ["version"]),
        "event": record(
            {
                "kind": one_of("event"),
                "category": many(one_of("network")),
                # What ECS expects of the category "network".
                "type": many(one_of("access", "allowed", "connection", "denied", "end", "info",
                                    "protocol", "start")),
                "outcome": one_of("success", "failure", "unknown"),
                "module": UNICODE,
                "dataset": UNICODE,
                "duration": LONG,
            },
            ["kind", "category", "type", "outcome"],
        ),
        "network": record({"protocol": one_of("dns"), "transport": one_of("udp", "tcp")},
                          ["protocol"]),
        "agent": record({"type": UNICODE, "version": UNICODE}),
        "host": record({"name": UNICODE, "hostname": UNICODE, "ip": many(ADDRESS)}),
        "process": record({"pid": LONG, "name": UNICODE, "executable": UNICODE,
                           "parent": record({"pid": LONG, "name": UNICODE})}),
        "source": record({"port": PORT}),
        "destination": record({"ip": ADDRESS, "port": PORT}),
        "user": record({"name": UNICODE}),
        "dns": record(
            {
                "type": one_of("query", "answer"),
                "id": {"type": "string", "pattern": "^[0-9]+$"},
                "op_code": TEXT,
                "response_code": TEXT,
                "header_flags": many(one_of("AA", "TC", "RD", "RA", "AD", "CD", "DO")),
                "question": record({"name": TEXT, "type": TEXT, "class": TEXT}),
                "answers": many(record({"name": TEXT, "type": TEXT, "class": TEXT, "ttl": LONG,
                                        "data": TEXT}, ["data"])),
                "resolved_ip": many(ADDRESS),
            },
            ["type"],
        ),
        "related": record({"hosts": many(UNICODE), "ip": many(ADDRESS), "user": many(UNICODE)}),
        "tovi": record({"logged_users": many(USER_ENTRY), "queried_servers": many(UNICODE),
                        "answers_left_out": INTEGER, "unit": UNICODE}),
    },
    ["@timestamp", "ecs", "event", "dns"],
)

OPCODES = dict(enumerate(["Query", "Inverse Query", "Status", "Reserved", "Notify", "Update",
                          "DSO Message"]))
RESPONSE_CODES = dict(enumerate(
    ["NoError", "FormError", "ServError", "NXDomain", "NotImp", "Refused", "YXDomain", "YXRRSet",
     "NXRRSet", "NotAuth", "NotZone", "DSOTYPENI"]))
RESPONSE_CODES |= dict(enumerate(
    ["BADSIG_VERS", "BADKEY", "BADTIME", "BADMODE", "BADNAME", "BADALG", "BADTRUNC", "BADCOOKIE",
     "Unassigned", "Reserved"], 16))
FLAGS = ["Authoritative Answer", "Truncated Response", "Recursion Desired", "Recursion Available",
         "Authentic Data", "Checking Disabled"]
OBSERVABLES = {1: "Hostname", 2: "IP Address", 4: "User Name", 9: "Process Name"}

IDENTIFIER = {"packet_uid": INTEGER}
TRANSACTION = {"transaction_id": INTEGER}
OPCODE = {"opcode_id": INTEGER, "opcode": TEXT}
HEADER_FLAGS = {"flag_ids": many(one_of(1, 2, 3, 4, 5, 6)), "flags": many(one_of(*FLAGS))}
RECORD = {"type": TEXT, "class": TEXT}
# What the versions differ in: members of the class, of the query, of an answer, and of the rest.
PLACES = {
    "1.8": ({}, IDENTIFIER | OPCODE, IDENTIFIER | HEADER_FLAGS,
            {"answers": many(record({"name": TEXT}, ["name"]))}),
    "1.9": (TRANSACTION | OPCODE | HEADER_FLAGS, {}, {"hostname": TEXT}, {}),
}


def ocsf(version):
    of_class, of_query, of_answer, of_rest = PLACES[version]
    endpoint = {"hostname": UNICODE, "ip": ADDRESS}
    user = record({"name": UNICODE}, at_least_one=["name"])
    interface = record({"ip": ADDRESS}, at_least_one=["ip"])
    parent = record({"pid": LONG, "name": UNICODE}, at_least_one=["pid"])
    process = record({"pid": LONG, "name": UNICODE, "path": UNICODE, "user": user,
                      "parent_process": parent}, at_least_one=["pid"])
    connection = record({"direction_id": one_of(0), "direction": one_of("Unknown"),
                         "protocol_name": one_of("udp", "tcp"), "protocol_num": one_of(6, 17)},
                        ["direction_id"])
    product = record({"name": UNICODE, "vendor_name": UNICODE, "version": UNICODE},
                     ["name", "vendor_name"])
    schema = record(
        {
            "time": INTEGER,
            "category_uid": one_of(4),
            "category_name": one_of("Network Activity"),
            "class_uid": one_of(4003),
            "class_name": one_of("DNS Activity"),
            "activity_id": one_of(6),
            "activity_name": one_of("Traffic"),
            "type_uid": one_of(4003 * 100 + 6),
            "type_name": one_of("DNS Activity: Traffic"),
            "severity_id": INTEGER,
            "severity": UNICODE,
            "status_id": INTEGER,
            "status": UNICODE,
            "metadata": record({"version": one_of(version + ".0"), "product": product,
                                "profiles": many(one_of("host"))}, ["version", "product"]),
            "device": record(endpoint | {"type_id": one_of(0), "type": one_of("Unknown"),
                                         "network_interfaces": many(interface)},
                             ["type_id"], ["hostname", "ip"]),
            "query_time": INTEGER,
            "response_time": INTEGER,
            "duration": INTEGER,
            "dst_endpoint": record({"ip": ADDRESS, "port": PORT}, at_least_one=["ip"]),
            "connection_info": connection,
            "src_endpoint": record(endpoint | {"name": one_of("unknown"), "port": PORT},
                                   at_least_one=["hostname", "ip", "name"]),
            "actor": record({"process": process, "user": user}, at_least_one=["process", "user"]),
            "query": record({"hostname": TEXT} | RECORD | of_query, ["hostname"])
            | named("opcode_id", "opcode", OPCODES),
            "answers": many(record({"rdata": TEXT, "ttl": INTEGER} | RECORD | of_answer,
                                   ["rdata"])),
            "rcode_id": INTEGER,
            "rcode": TEXT,
            "observables": many(record({"name": UNICODE, "type_id": INTEGER, "type": UNICODE,
                                        "value": UNICODE}, ["name", "type_id"])
                                | named("type_id", "type", OBSERVABLES)),
            "unmapped": record({
                "system": record({"logged_users": many(USER_ENTRY)}),
                "process": record({"unit": UNICODE}),
                "dns_packet": record({"op_code": TEXT, "queried_servers": many(UNICODE),
                                      "answers_left_out": INTEGER}
                                     | of_rest)}),
        } | of_class,
        ["time", "category_uid", "class_uid", "activity_id", "type_uid", "severity_id", "metadata",
         "src_endpoint"],
    )
    schema["allOf"] = [
        named("severity_id", "severity", {1: "Informational"}),
        named("status_id", "status", {0: "Unknown", 1: "Success", 2: "Failure"}),
        named("rcode_id", "rcode", RESPONSE_CODES | {99: "UNKNOWN"}),
        named("opcode_id", "opcode", OPCODES),
    ]
    return schema


SCHEMAS = {"ecs": ECS, "ocsf-1.8": ocsf("1.8"), "ocsf-1.9": ocsf("1.9")}
VALIDATORS = {
    name: jsonschema.Draft202012Validator(schema, format_checker=jsonschema.FormatChecker())
    for name, schema in SCHEMAS.items()
}
