#!/usr/bin/python3
"""Does what `mozilla -syncin FILE` does with the contacts in FILE: adds them to the address book of the first
profile below ~/.mozilla/default, abook.mab, in the suite's own format (Mork). Part of the stand-in for mozilla.
"""
import os
import re
import sys
import xml.etree.ElementTree as xml

PHONES = {"home": "HomePhone", "work": "WorkPhone", "homefax": "FaxNumber", "workfax": "FaxNumber", "fax": "FaxNumber",
          "cell": "CellularNumber", "pager": "PagerNumber"}
ADDRESS = {"street": "Address", "city": "City", "region": "State", "postalCode": "ZipCode", "country": "Country"}
TEXTS = {"displayName": "DisplayName", "name/given": "FirstName", "name/family": "LastName", "nickname": "NickName",
         "title": "JobTitle", "organization/company": "Company", "organization/unit": "Department", "note": "Notes",
         "url": "WebPage1"}
HEAD = "// <!-- <mdb:mork:z v=\"1.4\"/> -->\n"


def fields(contact):
    """The columns of one contact; of several that need the same column the first stays."""
    found = {}
    for path, column in TEXTS.items():
        found.setdefault(column, contact.findtext(path))
    for column, email in zip(("PrimaryEmail", "SecondEmail"), contact.findall("email")):
        found[column] = email.text
    for phone in contact.findall("phone"):
        found.setdefault(PHONES.get(phone.get("type"), ""), phone.text)
    for address in contact.findall("address"):
        kind = {"home": "Home", "work": "Work"}.get(address.get("type"))
        for part in address if kind else ():
            found.setdefault(kind + ADDRESS.get(part.tag, ""), part.text)
    return {column: text for column, text in found.items() if column not in ("", "Home", "Work") and text}


def mork(text):
    """A text between the parentheses of a Mork value."""
    return re.sub(r"[\\)$\n\r]|[^\x20-\x7e]", lambda c: "".join(f"${byte:02X}" for byte in c.group().encode()), text)


def group(contacts):
    """The contacts as one more table of the book, whose columns and values stand in front of it by number."""
    columns = sorted({column for contact in contacts for column in contact})
    values = sorted({text for contact in contacts for text in contact.values()})
    column_at = {column: f"{0x80 + i:X}" for i, column in enumerate(columns, 2)}
    value_at = {text: f"{0x1000 + i:X}" for i, text in enumerate(values)}
    yield "< <(a=c)> (80=ns:addrbk:db:row:scope:card:all)(81=ns:addrbk:db:table:kind:pab)"
    yield from (f"  ({at}={column})" for column, at in column_at.items())
    yield ">"
    yield "<" + "\n  ".join(f"({at}={mork(text)})" for text, at in value_at.items()) + ">"
    yield "{1:^80 {(k^81:c)(s=9)}"
    for number, contact in enumerate(contacts, 1):
        cells = "".join(f"(^{column_at[column]}^{value_at[text]})" for column, text in contact.items())
        yield f"  [{number}{cells}]"
    yield "}\n"


def main():
    contacts = [fields(contact) for contact in xml.parse(sys.argv[1]).getroot().findall("contact")]
    folder = os.path.expanduser("~/.mozilla/default")
    profile = next(os.scandir(folder)).path
    with open(profile + "/abook.mab", "a", encoding="ascii") as book:
        book.write(HEAD + "\n".join(group(contacts)))


if __name__ == "__main__":
    main()
