#!/usr/bin/python3
"""Shows the items of a server that match a pattern, and then each of their changes, until it is stopped.

    $ follow_list.py tov.base.bluetoothlauncher 'pairlist*'
"""
import asyncio
import sys

from dbus_next import Message, MessageFlag, MessageType
from dbus_next.aio import MessageBus

PATH = "/tov/base/Items"
INTERFACE = "tov.base.Items"


class FollowedList:
    def __init__(self, bus, server, patterns):
        self._bus = bus
        self._server = server
        self._patterns = patterns
        self._items = {}  # properties by address
        self._serial = 0
        self._held = None  # the signals that come while the present state is asked for
        self.end = asyncio.get_running_loop().create_future()  # why it cannot go on
        bus.add_message_handler(self._take)

    async def begin(self):
        """First the signals, then the present state: nothing is missed in between."""
        await self._listen(f"type='signal',sender='{self._server}',path='{PATH}',interface='{INTERFACE}'")
        await self._listen(
            "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',"
            f"arg0='{self._server}'"
        )
        await self.watch()

    async def watch(self):
        self._held = []
        reply = await self._call(self._server, PATH, INTERFACE, "Watch", "as", [self._patterns])
        self._serial, items = reply.body
        before, self._items = self._items, {}
        for address, properties in items:
            self._items[address] = values(properties)
            if self._items[address] != before.get(address):
                self._show(address)
        held, self._held = self._held, None
        for serial, changed in held:
            if self._held is None:
                self._update(serial, changed)

    def _take(self, message):
        if message.member == "Changed" and message.interface == INTERFACE:
            if self._held is None:
                self._update(*message.body)
            else:
                self._held.append(message.body)
        elif message.member == "NameOwnerChanged" and message.body[0] == self._server:
            if message.body[2]:  # it was started again, counts anew and has to be asked again
                self._watch_again()
            else:
                print(f"{self._server} left", flush=True)
                self._items = {}

    def _update(self, serial, changed):
        if serial <= self._serial:
            return  # the present state had it already
        if serial != self._serial + 1:  # the bus drops signals for who does not read them
            self._watch_again()
            return
        self._serial = serial
        for address, properties in changed:
            if address in self._items:  # changes of all the server's items arrive
                self._items[address].update(values(properties))  # the new properties alone
                self._show(address)
        if serial % 64 == 0:  # the last ones that were lost leave no gap that shows
            asyncio.ensure_future(self._ask_for_serial()).add_done_callback(self._watched)

    async def _ask_for_serial(self):
        reply = await self._call(self._server, PATH, INTERFACE, "List", "as", [[":"]])  # no item's name
        if reply.body[0] > self._serial and self._held is None:
            self._watch_again()

    def _watch_again(self):
        self._held = []
        asyncio.ensure_future(self.watch()).add_done_callback(self._watched)

    def _watched(self, task):
        if task.exception() and not self.end.done():
            self.end.set_exception(task.exception())

    def _show(self, address):
        item = self._items[address]
        value = item.get("value", "")
        text = str(value).lower() if isinstance(value, bool) else value
        note = "" if item["applicable"] else " (does not apply now)"
        print(f"{address} {text}{note}", flush=True)

    async def _listen(self, rule):
        await self._call(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "AddMatch", "s", [rule]
        )

    async def _call(self, *what):
        destination, path, interface, member, signature, body = what
        reply = await self._bus.call(
            Message(destination=destination, path=path, interface=interface, member=member,
                    signature=signature, body=body, flags=MessageFlag.NO_AUTOSTART)
        )
        if reply.message_type == MessageType.ERROR:
            raise RuntimeError(f"{self._server}: {reply.body[0]}")
        return reply


def values(properties):
    return {name: variant.value for name, variant in properties.items()}


async def follow(server, patterns):
    bus = await MessageBus().connect()
    followed = FollowedList(bus, server, patterns)
    await followed.begin()
    disconnected = asyncio.ensure_future(bus.wait_for_disconnect())
    ended, _ = await asyncio.wait([disconnected, followed.end], return_when=asyncio.FIRST_COMPLETED)
    ended.pop().result()
    raise RuntimeError("the session bus has ended")


def main():
    if len(sys.argv) < 2:
        sys.exit("usage: follow_list.py BUS-NAME [PATTERN...]")
    try:
        asyncio.run(follow(sys.argv[1], sys.argv[2:]))
    except KeyboardInterrupt:
        pass
    except (RuntimeError, OSError) as error:
        sys.exit(f"follow_list.py: {error}")


if __name__ == "__main__":
    main()
