#!/usr/bin/env python3
"""read_mail.py FILE...: reads mails as strictly as RFC 5322 and the MIME standards are.

For every file one line of what a reader sees, each value as hexadecimal UTF-8 after its name. Ends
with an error at the first defect.
"""
import email
import email.header
import email.policy
import email.utils
import re
import sys

POLICY = email.policy.SMTP.clone(raise_on_defect=True)
ONCE = ["From", "Reply-To", "To", "Date", "Message-ID", "Subject", "BBS", "MIME-Version",
        "Content-Type", "Content-Transfer-Encoding", "List-Id", "List-Post", "List-Unsubscribe",
        "Auto-Submitted"]
NEEDED = ["From", "Date", "Message-ID", "MIME-Version", "Content-Type",
          "Content-Transfer-Encoding", "Auto-Submitted"]


def check(condition, *what):
    if not condition:
        raise ValueError(" ".join(str(part) for part in what))


def check_lines(data):
    """What holds for every mail on its way: CR LF only, lines of at most 998 bytes, ASCII."""
    check(data.endswith(b"\r\n"), "the last line has no end")
    for line in data[:-2].split(b"\r\n"):
        check(b"\r" not in line and b"\n" not in line, "lone line end in", line)
        check(len(line) <= 998, "line of", len(line))
        check(all(0 < byte < 128 for byte in line), "bytes that are no ASCII in", line)
    header = data.split(b"\r\n\r\n")[0].split(b"\r\n")
    for line in header:
        check(line.strip(), "an empty line in a fold")
        check(line[:1] in b" \t" or re.match(rb"[!-9;-~]+: ", line), "no field:", line)
        check(not re.search(rb"[\x00-\x08\x0b-\x1f\x7f]", line), "control characters in", line)
        for word in re.findall(rb"=\?[^ ]*\?=", line):
            check(len(word) <= 75, "encoded word of", len(word))


def check_fields(message):
    for name in ONCE:
        check(len(message.get_all(name, [])) <= 1, "more than one", name)
    for name in NEEDED:
        check(message[name] is not None, "no", name)
    for name, value in message.items():
        check(not value.defects, name, value.defects)
    check(re.fullmatch(r"<[^<>@\s]+@[^<>@\s]+>", message["Message-ID"]), message["Message-ID"])
    check(message["Date"].datetime.tzinfo is not None, "no zone in", message["Date"])
    if message["List-Id"]:
        check(re.search(r"<[a-z0-9_.-]+\.[a-z0-9.-]+>$", message["List-Id"]), message["List-Id"])
    for name in ("List-Post", "List-Unsubscribe"):
        if message[name]:
            check(re.fullmatch(r"<mailto:[A-Za-z0-9%@._~?=-]+>", message[name]), message[name])


def one_address(message, plain, name):
    """Name and address. Python before 3.12 keeps the blank between two encoded words of a name, which
    is no part of it; the older reader does not, and both agree on the address."""
    if message[name] is None:
        return "", ""
    addresses = message[name].addresses
    check(len(addresses) == 1, name, "has", len(addresses), "addresses")
    check(addresses[0].username and addresses[0].domain, name, "has none")
    raw = re.sub(r"\r\n(?=[ \t])", "", plain[name])
    display, spec = email.utils.parseaddr(raw)
    check(spec == addresses[0].addr_spec, name, spec, "is", addresses[0].addr_spec)
    return str(email.header.make_header(email.header.decode_header(display))), spec


def read(path):
    with open(path, "rb") as file:
        data = file.read()
    check_lines(data)
    message = email.message_from_bytes(data, policy=POLICY)
    check(not message.defects, message.defects)
    plain = email.message_from_bytes(data, policy=email.policy.compat32)
    check_fields(message)
    check(message.get_content_type() == "text/plain", message.get_content_type())
    text = message.get_content(errors="strict")
    fields = {"subject": message["Subject"] or "", "bbs": message["BBS"],
              "text": text.replace("\r\n", "\n")}
    for name in ("From", "Reply-To", "To"):
        key = name.lower()
        fields[key + "-name"], fields[key] = one_address(message, plain, name)
    return fields


for argument in sys.argv[1:]:
    try:
        seen = read(argument)
    except Exception as error:
        with open(argument, "rb") as file:
            sys.exit(f"{argument}: {type(error).__name__}: {error}\n{file.read()[:2000]!r}")
    print(" ".join(f"{name}:{value.encode('utf-8').hex()}" for name, value in seen.items()))
