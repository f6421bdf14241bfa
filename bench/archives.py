"""Makes the archives of whole runs for bench/run: always the same bytes for the same size.

Each maker takes a folder and how many times smaller than usual its content is to be, and makes the folder with one
archive or several.
"""
import os
import shutil
import subprocess
import sys
import zipfile

import inputs

SOURCE = os.path.dirname(os.path.dirname(os.path.realpath(__file__)))
TOP = "Brindle/"
ONE_PERSON = "MultiUser Migration=0\r\n"
SEVERAL_PEOPLE = "MultiUser Migration=1\r\n"
DOCUMENTS = 20000
PART = 16  # of a whole archive: the smallest that is measured
CONTACTS = "ImapMail/Contacts/addressbook.db"


def put(file, name, text):
    entry = zipfile.ZipInfo(TOP + name, (2005, 5, 10, 9, 0, 0))
    entry.compress_type = zipfile.ZIP_DEFLATED
    file.writestr(entry, text)


def put_file(file, name, path):
    entry = zipfile.ZipInfo(TOP + name, (2005, 5, 10, 9, 0, 0))
    entry.compress_type = zipfile.ZIP_DEFLATED
    with open(path, "rb") as source, file.open(entry, "w", force_zip64=True) as target:
        shutil.copyfileobj(source, target, 1 << 20)


def new_zip(path):
    return zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED, compresslevel=1)


def put_documents(file, count):
    words = inputs.Words(10)
    for number in range(count):
        put(file, "My Documents/folder %d/letter %d.txt" % (number % 100, number), "%d\n%s" % (number, words.part(52000)))


def make_samples(folder):
    subprocess.run([SOURCE + "/samples/make", folder], stdout=sys.stderr, check=True)


def samples(folder, _smaller):
    make_samples(folder)


def put_again(file, sample, path_of):
    """The files of the zip `sample` under the names that `path_of` gives them, without those that it gives none."""
    with zipfile.ZipFile(sample) as old:
        for entry in old.infolist():
            path = path_of(entry.filename.removeprefix(TOP))
            if path and not entry.is_dir():
                put(file, path, old.read(entry))


def one_gigabyte(folder, smaller):
    """20,000 documents; and with all that the sample of one person has."""
    os.makedirs(folder)
    make_samples(folder)
    with new_zip(folder + "/documents.zip") as file:
        put(file, "users.txt", ONE_PERSON)
        put_documents(file, DOCUMENTS // smaller)
    with new_zip(folder + "/everything.zip") as file:
        put_again(file, folder + "/one-person.zip", lambda path: path)
        put_documents(file, DOCUMENTS // smaller)


def sizes(folder, smaller):
    """No documents, and once, 4 and 16 times as many."""
    os.makedirs(folder)
    for times in (0, 1, 4, PART):
        with new_zip("%s/%d.zip" % (folder, times)) as file:
            put(file, "users.txt", ONE_PERSON)
            put_documents(file, times * DOCUMENTS // PART // smaller)


def families(folder, smaller):
    """Nobody, one person and twenty with the same things beside the running user, who has none."""
    os.makedirs(folder)
    make_samples(folder)
    words = inputs.Words(11)
    documents = [words.part(52000) for _ in range(400 // smaller)]
    for count in (0, 1, 20):
        with new_zip("%s/%d.zip" % (folder, count)) as file:
            put(file, "users.txt", SEVERAL_PEOPLE)
            for number in range(count):
                put_person(file, "Profiles/bench%02d/" % number, folder + "/family.zip", documents)


def put_person(file, place, family, documents):
    person = "Profiles/nora/"
    put_again(file, family, lambda path: place + path.removeprefix(person) if path.startswith(person) else "")
    for number, text in enumerate(documents):
        put(file, "%sMy Documents/folder %d/letter %d.txt" % (place, number % 10, number), text)


def put_account(file):
    put(file, "users.txt", ONE_PERSON)
    put(file, "ImapMail/brindle-email-accounts/00000001.txt",
        "Account Name=bench\r\nSMTP Email Address=bench@home.example\r\nPOP3 Server=pop.home.example\r\n"
        "POP3 User Name=bench\r\nSMTP Server=smtp.home.example\r\n")


def large_texts(folder, smaller):
    """100,000 events and tasks, 50,000 contacts, 200,000 cookies and long notes."""
    os.makedirs(folder)
    parts = folder + "/parts"
    for make in (inputs.calendar, inputs.tasks, inputs.notes, inputs.cookies):
        make(parts + "/" + make.__name__, smaller)
    inputs.address_book(parts + "/book", smaller)
    with new_zip(folder + "/texts.zip") as file:
        put_account(file)
        put_file(file, CONTACTS, parts + "/book")
        for path in ("calendar/ImapMail/Calendar/calendar.ics", "tasks/ImapMail/Tasks/tasks.ics", "cookies/Cookies.txt"):
            put_file(file, path.partition("/")[2], parts + "/" + path)
        for name in sorted(os.listdir(parts + "/notes/Notes")):
            put_file(file, "Notes/" + name, parts + "/notes/Notes/" + name)
    shutil.rmtree(parts)


def large_mailbox(folder, smaller):
    """A mailbox of 3 GB."""
    os.makedirs(folder)
    inputs.mailbox_3gb(folder + "/mailbox", smaller)
    with new_zip(folder + "/mailbox.zip") as file:
        put_account(file)
        put_file(file, "Mail/Inbox", folder + "/mailbox")
    os.unlink(folder + "/mailbox")
