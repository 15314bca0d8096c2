#!/usr/bin/env python3
"""Relays TCP connections to another address, holding every piece of data back for a
while in each direction: a slower network between two programs on one machine.

    scripts/tcp_relay.py LISTEN_HOST:PORT TARGET_HOST:PORT DELAY_MS

Each way is delayed by DELAY_MS, so a round trip grows by twice that. Runs until killed.
"""
import asyncio
import sys
import time


async def carry(reader, writer, delay):
    queue = asyncio.Queue()

    async def send():
        while True:
            due, data = await queue.get()
            if data is None:
                break
            wait = due - time.monotonic()
            if wait > 0:
                await asyncio.sleep(wait)
            writer.write(data)
            await writer.drain()
        writer.close()

    sender = asyncio.create_task(send())
    try:
        while True:
            data = await reader.read(65536)
            if not data:
                break
            queue.put_nowait((time.monotonic() + delay, data))
    except ConnectionError:
        pass
    queue.put_nowait((0, None))
    try:
        await sender
    except ConnectionError:
        pass


async def main():
    listen_host, listen_port = sys.argv[1].rsplit(":", 1)
    target_host, target_port = sys.argv[2].rsplit(":", 1)
    delay = float(sys.argv[3]) / 1000

    async def relay(client_reader, client_writer):
        try:
            server_reader, server_writer = await asyncio.open_connection(target_host, int(target_port))
        except OSError:
            client_writer.close()
            return
        await asyncio.gather(carry(client_reader, server_writer, delay),
                             carry(server_reader, client_writer, delay))

    server = await asyncio.start_server(relay, listen_host, int(listen_port))
    print("relaying", flush=True)
    async with server:
        await server.serve_forever()


if __name__ == "__main__":
    asyncio.run(main())
