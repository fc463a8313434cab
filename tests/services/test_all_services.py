"""One client of every kind, connected at once."""

import listing
import one_of_each
from service_test import ServiceTest, main


def setUpModule():
    one_of_each.add_accounts()


class AllServicesTest(ServiceTest):

    @classmethod
    def setUpClass(cls):
        one_of_each.start_servers(cls)

    def test_nobody_is_connected_to_idle_servers(self):
        self.assertEqual([], listing.rows())
        self.assertIn("nobody is connected", listing.run("list").stdout.lower())

    def test_each_is_listed_exactly_once(self):
        expected = one_of_each.connect(self)
        self.assertList(expected)
        self.assertTable(expected)

    def assertTable(self, expected):
        """The table for people has one line for each row, with the same texts."""
        lines = listing.run("list").stdout.splitlines()
        for row in expected:
            holding = [line for line in lines if all(text in line for text in row)]
            self.assertEqual(1, len(holding), f"{row} in {lines}")


if __name__ == "__main__":
    main()
