// A relay of TCP connections: whoever connects to it reaches a port of this machine from another address of it.
import { once } from 'node:events';
import { connect, createServer } from 'node:net';

// Returns {port, close()}.
export async function startRelay(toPort, fromAddress) {
  const server = createServer((near) => {
    const far = connect({ host: '127.0.0.1', port: toPort, localAddress: fromAddress });
    near.pipe(far).pipe(near);
    near.on('error', () => far.destroy());
    far.on('error', () => near.destroy());
  });
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  return { port: server.address().port, close: () => server.close() };
}
