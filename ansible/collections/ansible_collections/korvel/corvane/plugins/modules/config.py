#!/usr/bin/python
# -*- coding: utf-8 -*-
# Copyright: Corvane developers
# GNU General Public License v3.0+ (see COPYING or https://www.gnu.org/licenses/gpl-3.0.txt)
"""Korvel's settings through corvanectl: only the keys given are set."""
from __future__ import absolute_import, division, print_function
__metaclass__ = type

DOCUMENTATION = r'''
---
module: config
short_description: Set Korvel's settings through corvanectl
version_added: "5.3.0"
description:
  - Sets the keys given in a Korvel directory with C(corvanectl apply), which checks every value as the
    editor's screens do before it writes anything and rewrites only the files whose text changes.
  - Adds, and with C(state) C(absent) deletes, entries through the editor's own operations.
  - Reports C(changed) only when a value changes. In check mode it runs C(corvanectl apply --dry-run), which
    writes nothing and needs no lock, so it works while an editor has the directory open.
  - Fails with corvanectl's own message (the key, the value and what is allowed) when a value is refused,
    and when an editor or another corvanectl holds the directory longer than C(wait) allows.
extends_documentation_fragment:
  - korvel.corvane.corvanectl
options:
  settings:
    description:
      - The keys to set, in the shape of C(corvanectl dump --json) - file name, section, key, value. Texts
        are strings, numbers are numbers, and switches may be booleans (C(true), C(yes), C(on) for 1).
        Keys not given are left as they are.
      - An entry may be named by its name instead of its number, C(UPS[Rack 2 UPS]) in place of C(UPS_01),
        and a group as C(group[Network core]) in place of C(group_01.ini). A name no entry has adds an entry.
        Numbered entries are added in their numbers' order, whatever the order of the mapping.
      - A section whose only key is C(state) with the value C(absent), or a group's file given so, is deleted as the editor deletes
        it (refused while something names it); one that is not there is no change.
      - May hold secrets (passwords, SNMP communities). Their values are masked in every output of the task,
        at any verbosity and in diffs; which keys are secret comes from C(corvanectl keys --json).
    type: dict
    required: true
  wait:
    description:
      - How many seconds to wait for an editor or another corvanectl to let go of the directory. By default
        the task fails at once with corvanectl's message naming the holder.
    type: int
    default: 0
  backup:
    description:
      - Return the history generation that keeps the files as they were before this task's save, as
        C(backup_generation). C(corvanectl -C PATH rollback N) puts them back. Every save keeps one; this
        says which.
    type: bool
    default: false
attributes:
  check_mode:
    support: full
    description: Runs C(corvanectl apply --dry-run); nothing is written and no lock is taken.
  diff_mode:
    support: full
    description: The value of each changed key before and after, and each entry added, deleted or renumbered; secrets masked.
author:
  - Corvane developers (@corvane)
requirements:
  - corvanectl of the same release as this collection on the managed host, in C(path), on C(PATH) or named by C(corvanectl).
notes:
  - Runs as a user who may write the Korvel directory, usually root (C(become=true)).
  - The settings are handed to corvanectl in a temporary file only the task's user can read, removed afterwards.
'''

EXAMPLES = r'''
- name: Name the system and set the network port
  korvel.corvane.config:
    path: /opt/korvel
    settings:
      korvel.ini:
        System:
          Name: Plant B
        Network:
          Port: 3052
          HTTP: false

- name: A UPS by its name, added when there is none of that name, and an old one deleted
  korvel.corvane.config:
    path: /opt/korvel
    wait: 30
    backup: true
    settings:
      korvel.ini:
        "UPS[Rack 2 UPS]":
          IPAddress: 10.0.2.15
        "UPS[Old rack UPS]":
          state: absent
  register: ups

- name: Roll back when the new settings misbehave
  ansible.builtin.command: /opt/korvel/corvanectl rollback {{ ups.backup_generation }}
  when: ups.backup_generation is defined
'''

RETURN = r'''
changed_keys:
  description: The keys whose value changed (or would change, in check mode), as corvanectl names them, and the entries and files added, deleted or renumbered.
  returned: always
  type: list
  elements: str
  sample: ["System.Name", "UPS_04"]
changes:
  description: Each changed key with its value before and after; secrets as C(********).
  returned: always
  type: list
  elements: dict
  sample: [{"key": "System.Name", "old": "Plant A", "new": "Plant B", "secret": false}]
entries:
  description: Each entry or group file added, deleted or renumbered, and what became of it.
  returned: always
  type: list
  elements: dict
  sample: [{"entry": "UPS_04", "what": "added"}, {"entry": "UPS_06", "what": "now UPS_05"}]
notes:
  description: What else the save did, such as a group's leftover file removed.
  returned: always
  type: list
  elements: str
written:
  description: The files written.
  returned: always
  type: list
  elements: str
  sample: ["korvel.ini"]
backup_generation:
  description: The history generation that keeps the files as they were before the save.
  returned: when C(backup) is true and something was written
  type: int
  sample: 12
'''

import json
import os
import tempfile

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.korvel.corvane.plugins.module_utils.corvanectl import fail, hide_secrets, run


def text(value):
    """A value as the diff shows it: JSON, so that any text reads unambiguously."""
    return json.dumps(value, ensure_ascii=False)


def main():
    module = AnsibleModule(
        argument_spec=dict(
            path=dict(type='path', required=True),
            settings=dict(type='dict', required=True),
            corvanectl=dict(type='path'),
            wait=dict(type='int', default=0),
            backup=dict(type='bool', default=False),
        ),
        supports_check_mode=True,
    )
    hide_secrets(module, module.params['settings'])
    # A file, not a pipe: corvanectl may refuse before it reads any of it.
    handle, name = tempfile.mkstemp(prefix='settings-', suffix='.json', dir=module.tmpdir)
    try:
        with os.fdopen(handle, 'w') as settings:
            json.dump(module.params['settings'], settings)
        args = ['apply', '--json', '--create'] + (['--dry-run'] if module.check_mode else []) + [name]
        rc, out, err = run(module, args)
    finally:
        os.unlink(name)
    if rc != 0:
        fail(module, rc, out, err)
    try:
        report = json.loads(out)
    except ValueError:
        fail(module, rc, out, err)
    changes, entries = report['changes'], report['entries']
    result = dict(changed=bool(changes or entries), changes=changes, entries=entries, notes=report['notes'], written=report['written'],
                  changed_keys=[change['key'] for change in changes] + [entry['entry'] for entry in entries])
    if module.params['backup'] and report.get('generation'):
        result['backup_generation'] = report['generation']
    if module._diff and result['changed']:
        before = ['%s: %s' % (entry['entry'], '(none)' if entry['what'] == 'added' else '(entry)') for entry in entries]
        after = ['%s: %s' % (entry['entry'], entry['what']) for entry in entries]
        # A secret is masked on both sides: the after side says that it changed.
        before += ['%s: %s' % (change['key'], '(secret)' if change['secret'] else text(change['old'])) for change in changes]
        after += ['%s: %s' % (change['key'], '(secret, changed)' if change['secret'] else text(change['new'])) for change in changes]
        result['diff'] = dict(before='\n'.join(before) + '\n', after='\n'.join(after) + '\n',
                              before_header=module.params['path'], after_header=module.params['path'])
    module.exit_json(**result)


if __name__ == '__main__':
    main()
