#!/usr/bin/env python3
"""The upgrade runner's export: its data, its documents and its questions."""

import hashlib
import json
import re
import time
import unittest

from runner_case import kelvd, RunnerTest


class DataExport(RunnerTest):
    def folder(self):
        return self.machine / 'drive_c' / 'Data \u8a66' / 'export'

    def manifest(self):
        return json.loads((self.folder() / 'manifest.json').read_text(encoding='utf-8'))

    def test_data_have_the_size_and_what_the_seed_says(self):
        size = (3 << 20) + 17
        self.play('export', bytes=size, seed=7)
        self.assertEqual(self.run_phase('export'), 0)
        first = self.manifest()
        data = [entry for entry in first['files'] if entry['path'].startswith('keldb/')]
        self.assertEqual(sum(entry['bytes'] for entry in data), size)
        for entry in first['files']:
            content = (self.folder() / entry['path']).read_bytes()
            self.assertEqual(len(content), entry['bytes'])
            self.assertEqual(hashlib.sha256(content).hexdigest(), entry['sha256'])
        self.assertIn(0, [entry['bytes'] for entry in first['files']])
        self.assertEqual(self.run_phase('export'), 0)
        self.assertEqual(self.manifest(), first)
        self.play('export', bytes=size, seed=8)
        self.assertEqual(self.run_phase('export'), 0)
        self.assertNotEqual(self.manifest(), first)

    def test_final_document_tells_what_was_exported(self):
        self.play('export', bytes=1000)
        self.assertEqual(self.run_phase('export'), 0)
        document = self.output('export')
        self.assertEqual(document['status'], 'success')
        self.assertEqual(document['progress'], 100)
        self.assertEqual(document['exported']['folder'], 'C:\\Data \u8a66\\export')
        self.assertEqual(document['exported']['files'], len(self.manifest()['files']))

    def test_progress_grows_while_it_runs(self):
        self.play('export', bytes=100 << 20, seconds=1)
        self.start('export')
        seen = []

        def finished():
            try:
                document = self.output('export')
            except FileNotFoundError:
                return False
            seen.append(document['progress'])
            return document['status'] == 'success'
        self.wait_until(finished)
        self.assertEqual(self.wait(), 0)
        self.assertEqual(seen, sorted(seen))
        self.assertGreater(len(set(seen)), 5)

    def states(self):
        states = json.loads((self.machine / 'services.json').read_text(encoding='utf-8'))
        return {name: state['state'] for name, state in states.items()}

    def test_services_of_the_product_are_stopped(self):
        self.description['services'] = {name: {} for name in ('KELVD', 'OstrelSTS', 'other')}
        (self.machine / 'services.json').write_text(json.dumps(
            {'ostrelsts': {'state': 'running'}, 'other': {'state': 'running'}}))
        self.play('export', bytes=0)
        self.assertEqual(self.run_phase('export'), 0)
        self.assertEqual(self.states(), {'KELVD': 'stopped', 'ostrelsts': 'stopped',
                                         'other': 'running'})
        self.assertRegex(self.log(), 'Stopped services: KELVD, OstrelSTS')

    def test_services_may_go_on_running(self):
        self.description['services'] = {'kelvd': {}}
        self.play('export', bytes=0, stopsServices=False)
        self.assertEqual(self.run_phase('export'), 0)
        self.assertFalse((self.machine / 'services.json').exists())

    def test_folder_that_cannot_be_written_is_an_error(self):
        self.folder().parent.mkdir()
        self.folder().write_text('a file')
        self.assertEqual(self.run_phase('export'), 1)
        self.assertEqual(self.output('export')['status'], 'error')
        self.assertIn('The export folder', self.output('export')['error']['text']['localized'])


class Questions(RunnerTest):
    def answer(self, place, question_id, answer):
        text = json.dumps({'answer': answer, 'reply_to': question_id})
        # As the agent writes it: in place, so that a reader may meet a part.
        with open(place, 'w', encoding='utf-8') as file:
            file.write(text[:7])
            file.flush()
            time.sleep(0.1)
            file.write(text[7:])

    def place_of(self, question):
        if 'reply_file' not in question:
            return self.temp / (question['id'] + '.json')
        if '\\' not in question['reply_file']:
            return self.temp / question['reply_file']
        self.assertTrue(question['reply_file'].startswith('C:\\Temp\\'))
        return self.machine / 'drive_c' / question['reply_file'][3:].replace('\\', '/')

    def test_each_form_of_the_reply_file_is_waited_for(self):
        forms = ('none', 'name', 'path')
        self.play('export', bytes=0, questions=[
            {'id': f'q\u00e4 {form}', 'replyFile': form, 'expected': {'x': [1, None]}}
            for form in forms])
        self.start('export')
        for form in forms:
            question = self.wait_for_question(f'q\u00e4 {form}')
            place = self.place_of(question)
            self.assertFalse(place.exists())
            self.answer(place, question['id'], {'x': [1, None]})
        self.assertEqual(self.wait(), 0)
        self.assertEqual(self.output('export')['status'], 'success')
        self.assertEqual([p.name for p in self.temp.glob('q*')], [])

    def test_question_is_told_with_all_that_a_person_needs(self):
        self.play('export', bytes=0, questions=[
            {'id': 'q', 'text': 'Go on?', 'choices': ['yes', 'no'], 'default': 'yes'}])
        self.start('export')
        self.assertEqual(self.wait_for_question('q'), {
            'id': 'q', 'text': {'localized': 'Go on?'}, 'choices': ['yes', 'no'],
            'default': 'yes'})

    def refused_answer(self, **reply):
        self.play('export', bytes=0, questions=[{'id': 'q', 'choices': [1, 2]}])
        self.output_path('export').unlink(missing_ok=True)
        self.start('export')
        self.wait_for_question('q')
        (self.temp / 'q.json').write_text(json.dumps(reply))
        self.assertEqual(self.wait(), 1)
        self.assertEqual(self.output('export')['status'], 'error')
        return self.output('export')['error']['text']['localized']

    def test_answers_to_something_else_end_the_export(self):
        self.assertIn('is one to p', self.refused_answer(answer=1, reply_to='p'))
        self.assertIn('none of the choices', self.refused_answer(answer=3, reply_to='q'))
        self.assertIn('other members', self.refused_answer(answer=1, reply_to='q', more=1))

    def test_an_old_answer_is_none(self):
        (self.temp / 'q.json').write_text(json.dumps({'answer': 'old', 'reply_to': 'q'}))
        self.play('export', bytes=0, questions=[{'id': 'q', 'expected': 'new'}])
        self.start('export')
        self.wait_for_question('q')
        self.answer(self.temp / 'q.json', 'q', 'new')
        self.assertEqual(self.wait(), 0)

    def test_silent_export_asks_nothing(self):
        self.play('export', bytes=0, questions=[{'id': 'q'}])
        self.assertEqual(self.run_phase('export', silent=True), 0)
        self.assertRegex(self.log(), re.compile('Question q is not asked'))


if __name__ == '__main__':
    unittest.main()
