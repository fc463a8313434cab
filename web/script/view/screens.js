// The page shows one screen at a time.
import { byId } from './element.js';

const kScreens = ['boot', 'login', 'away', 'connections'];

export function showScreen(name) {
  for (const screen of kScreens) byId(screen).hidden = screen !== name;
}
