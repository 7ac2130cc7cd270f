"""An SFTP server that keeps two slashes at the beginning of a path and ignores the flag to append, as some do."""

import asyncio
import os
import sys

import asyncssh

NOBODY = 65534
folder, key, port, user, password = sys.argv[1:]


class Files(asyncssh.SFTPServer):
    def __init__(self, channel):
        super().__init__(channel, chroot=folder.encode())

    def open(self, path, pflags, attrs):
        return super().open(path, pflags & ~asyncssh.FXF_APPEND, attrs)


class Login(asyncssh.SSHServer):
    def connection_made(self, connection):
        print("connection", flush=True)

    def begin_auth(self, name):
        return True

    def password_auth_supported(self):
        return True

    def validate_password(self, name, given):
        return (name, given) == (user, password)


async def serve():
    keys = [asyncssh.read_private_key(key)]
    await asyncssh.listen("127.0.0.1", int(port), server_host_keys=keys, server_factory=Login, sftp_factory=Files)
    if os.getuid() == 0:
        os.setgroups([])
        os.setgid(NOBODY)
        os.setuid(NOBODY)
    await asyncio.Event().wait()


asyncio.run(serve())
