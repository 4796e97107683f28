"""What a release may change: the rules of packaging/interface on small interfaces. Usage: interface_tests.py ROOT"""
import importlib.machinery
import importlib.util
import pathlib
import sys
import unittest

loader = importlib.machinery.SourceFileLoader("interface", str(pathlib.Path(sys.argv.pop(1)) / "packaging/interface/interface"))
interface = importlib.util.module_from_spec(importlib.util.spec_from_loader("interface", loader))
sys.dont_write_bytecode = True
loader.exec_module(interface)

RELEASED = {
    "constant QV_S_OK": "((int32_t)0)",
    "export qvjvm.dll QV_CreateJavaVM": "",
    "member IQvStringVtbl.Release": "at 16: uint32_t (*)(IQvString *)",
    "record IQvStringVtbl": "size 80 align 8",
    "record ErrorRecord": "size 1028 align 4",
}


def least(change, remove=()):
    now = {name: value for name, value in {**RELEASED, **change}.items() if name not in remove}
    return interface.least_version("1.2.3", *interface.differences(RELEASED, now))


class Changes(unittest.TestCase):
    def test_nothing(self):
        self.assertEqual(least({}), (1, 2, 3))

    def test_new_export(self):
        self.assertEqual(least({"export qvjvm.dll QV_Other": ""}), (1, 3, 0))

    def test_table_grows_at_its_end(self):
        self.assertEqual(least({"record IQvStringVtbl": "size 88 align 8", "member IQvStringVtbl.More": "at 80: void (*)(void)"}),
                         (1, 3, 0))

    def test_table_shrinks(self):
        self.assertEqual(least({"record IQvStringVtbl": "size 72 align 8"}), (2, 0, 0))

    def test_slot_moves(self):
        self.assertEqual(least({"member IQvStringVtbl.Release": "at 24: uint32_t (*)(IQvString *)"}), (2, 0, 0))

    def test_record_of_the_hosts_grows(self):
        self.assertEqual(least({"record ErrorRecord": "size 1032 align 4"}), (2, 0, 0))

    def test_constant_changes(self):
        self.assertEqual(least({"constant QV_S_OK": "((int32_t)1)"}), (2, 0, 0))

    def test_export_is_gone(self):
        self.assertEqual(least({}, remove=["export qvjvm.dll QV_CreateJavaVM"]), (2, 0, 0))

    def test_gone_and_new_at_once(self):
        self.assertEqual(least({"export qvjvm.dll QV_Other": ""}, remove=["export qvjvm.dll QV_CreateJavaVM"]), (2, 0, 0))

    def test_versions_are_numbers(self):
        self.assertLess(interface.numbers("1.9.0"), interface.numbers("1.10.0"))

    def test_what_is_written_is_read(self):
        path = pathlib.Path(self.id() + ".txt")
        path.write_text("# a heading\n" + interface.write(RELEASED))
        self.addCleanup(path.unlink)
        self.assertEqual(interface.read(path), RELEASED)


unittest.main()
