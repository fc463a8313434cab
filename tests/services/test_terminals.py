"""Pseudo terminals that users enter in utmp with utempter, and what others run there later."""

import listing
import processes
from clients import terminals
from clients.terminals import Terminal
from listing import Row
from service_test import ServiceTest, add_users, main

ADDRESS = "10.99.99.99"


def setUpModule():
    add_users("alice", "bob")
    terminals.install()


class TerminalTest(ServiceTest):

    def terminal(self, *arguments):
        return self.client(Terminal, *arguments)

    def freed(self, count):
        """Terminals that alice has entered and let go."""
        entered = [self.terminal("alice", "entered", ADDRESS) for _ in range(count)]
        for terminal in entered:
            terminal.let_go()
        return entered

    def take_over(self, user, freed):
        """A terminal of another user that has the name of the freed one."""
        taken = self.terminal(user, "plain")
        self.assertEqual(freed.name, taken.name)
        return taken

    def assertDisablingSpares(self, *others):
        self.addCleanup(listing.run, "enable", "alice")
        done = listing.run("disable", "--yes", "alice")
        for other in others:
            self.assertTrue(processes.runs(other), done.stdout + done.stderr)

    def test_a_terminal_is_one_row_with_the_process_that_leads_it(self):
        terminal = self.terminal("alice", "shell", ADDRESS)
        found = self.assertList([Row("alice", ADDRESS, "LOGIN", terminal.name)])
        self.assertEqual(terminal.pid, found[0]["pid"])

    def test_roots_terminal_is_roots_row(self):
        terminal = self.terminal("root", "shell", ADDRESS)
        found = self.assertList([Row("admin", ADDRESS, "LOGIN", terminal.name)])
        self.assertEqual(terminal.pid, found[0]["pid"])

    def assertTakenOverBy(self, user):
        freed, = self.freed(1)
        taken = self.take_over(user, freed)
        found = self.assertList([Row("alice", ADDRESS, "LOGIN", freed.name)])
        self.assertEqual(freed.pid, found[0]["pid"])
        self.assertDisablingSpares(taken.pid)

    def test_root_who_takes_over_a_freed_terminal_is_not_the_one_who_entered_it(self):
        self.assertTakenOverBy("root")

    def test_nor_is_another_user(self):
        self.assertTakenOverBy("bob")

    def test_a_second_freed_terminal_leads_to_nobody_else_either(self):
        taken = [self.take_over("root", freed) for freed in self.freed(2)]
        self.assertDisablingSpares(*(terminal.pid for terminal in taken))

    def test_a_process_that_took_over_the_pid_of_the_one_that_entered_it_is_not_its_users(self):
        freed, = self.freed(1)
        freed.close()
        with open("/proc/sys/kernel/ns_last_pid", "w", encoding="ascii") as last:
            last.write(str(freed.pid - 1))
        taken = self.terminal("root", "plain")
        self.assertEqual(freed.pid, taken.process.pid)
        self.assertList([])
        self.assertDisablingSpares(taken.process.pid, taken.pid)


if __name__ == "__main__":
    main()
