import assert from 'node:assert/strict';
import { test } from 'node:test';
import { shell } from '../../../web/script/view/shell.js';

test('a name is one word of the command, whatever it is', () => {
  assert.equal(shell`pkill -U ${'alice'} --ns 1`, 'pkill -U alice --ns 1');
  assert.equal(shell`smbpasswd -c ${'/srv/our smb.conf'} -d ${'$(reboot)'}`, "smbpasswd -c '/srv/our smb.conf' -d '$(reboot)'");
  assert.equal(shell`chage -l ${"o'neil"}`, String.raw`chage -l 'o'\''neil'`);
});
