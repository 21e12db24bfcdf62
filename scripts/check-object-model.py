"""Fails with each public function of a public class, and each public class, that the document on
the object model does not name."""
import pathlib
import re
import sys
import xml.etree.ElementTree as ET

# Parts of public headers that callers do not touch: helpers of templates, and packed cells for those
# who read millions, which data/PackedRows.h documents.
APART = {"PackedColumn", "PackedRows", "Iterator", "FileOperations", "LoginData"}


def main(folder, document):
    text = pathlib.Path(document).read_text(encoding="utf-8")
    named = set(re.findall(r"\w+", text))
    missing, members = [], 0
    for path in pathlib.Path(folder).glob("class*.xml"):
        compound = ET.parse(path).getroot().find("compounddef")
        name = re.sub(r"<.*", "", compound.find("compoundname").text).split("::")[-1].strip()
        if name in APART or compound.get("prot") != "public":
            continue
        if name not in named:
            missing.append(name)
        for member in compound.iter("memberdef"):
            called = member.find("name").text
            plain = re.fullmatch(r"[A-Za-z]\w*", called) and called != name
            if member.get("kind") != "function" or member.get("prot") != "public" or not plain:
                continue
            members += 1
            if called not in named:
                missing.append(f"{name}::{called}")
    if members < 100:
        sys.exit(f"only {members} members were found in {folder}")
    if missing:
        sys.exit(f"{document} does not name " + ", ".join(sorted(missing)))
    print(f"{document} names all {members} members")


if __name__ == "__main__":
    main(*sys.argv[1:])
